#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "codec/block_sample.h"
#include "codec/records.h"
#include "codec/result_info.h"
#include "support/failing_allocator.h"

namespace test {
namespace {

BlockSample<result_info_sub> result_sample() {
  BlockSample<result_info_sub> sample(1280);
  sample.same(0, &result_info_sub::num_a);
  sample.low_byte(4, &result_info_sub::code_a);
  sample.low_byte(5, &result_info_sub::code_b);
  sample.low_byte(6, &result_info_sub::code_c);
  sample.low_byte(7, &result_info_sub::code_d);
  sample.low_byte(8, &result_info_sub::code_e);
  sample.low_byte(9, &result_info_sub::code_f);
  sample.low_byte(10, &result_info_sub::code_g);
  sample.same(11, &result_info_sub::chars65_a);
  sample.same(76, &result_info_sub::octets256_a);
  sample.same(332, &result_info_sub::words16_a);
  sample.same(396, &result_info_sub::chars65_b);
  sample.same(461, &result_info_sub::chars65_c);
  sample.same(526, &result_info_sub::num_e);
  sample.same(530, &result_info_sub::short_c);
  sample.low_byte(532, &result_info_sub::code_h);
  sample.same(533, &result_info_sub::byte_a);
  sample.same(534, &result_info_sub::words8_a);
  sample.same(566, &result_info_sub::byte_b);
  sample.flag(568, &result_info_sub::flag_a);
  sample.same(572, &result_info_sub::session_id);
  sample.same(576, &result_info_sub::num_b);
  sample.same(580, &result_info_sub::words5_a);
  sample.same(600, &result_info_sub::num_c);
  sample.same(604, &result_info_sub::words19_a);
  sample.same(680, &result_info_sub::octets276_a);
  sample.same(956, &result_info_sub::num_d);
  sample.same(960, &result_info_sub::words4_a);
  sample.same(976, &result_info_sub::ext_data_len);
  sample.same(980, &result_info_sub::words5_b);
  sample.received_only(1000, &result_info_sub::octets128_b);
  sample.same(1128, &result_info_sub::octets128_a);
  sample.same(1256, &result_info_sub::short_a);
  sample.same(1258, &result_info_sub::short_b);
  sample.flag(1260, &result_info_sub::flag_b);
  sample.same(1264, &result_info_sub::num_f);
  sample.same(1272, &result_info_sub::wide_a);
  sample.not_carried(&result_info_sub::local_word);
  sample.not_carried(&result_info_sub::local_block);
  sample.not_carried(&result_info_sub::local_tail);
  sample.not_carried(&result_info_sub::local_last);
  return sample;
}

TEST(ResultInfo, EveryFieldStandsAtItsPlaceInTheBlock) {
  const auto sample = result_sample();
  result_info record{};
  record.sub = sample.sent;
  Bytes block(1280, 0xEE);
  aaa_encap_result_info_sub(block.data(), &record);
  EXPECT_EQ(block, sample.block);
}

TEST(ResultInfo, EveryFieldIsReadFromItsPlaceInTheBlock) {
  const auto sample = result_sample();
  result_info record;
  std::memset(&record, 0, sizeof record);
  aaa_parse_result_info_sub(&record, sample.received.data());
  EXPECT_TRUE(same_bytes(record.sub, sample.arrived));
}

TEST(ResultInfo, BlockOfTheBodyIsTheFixedBlock) {
  const auto sample = result_sample();
  result_info record{};
  record.sub = sample.sent;
  const Bytes body = encoded(aaa_encap_result_info, record);
  EXPECT_EQ(word16(body, 0), 1);
  EXPECT_EQ(word16(body, 2), 1280);
  EXPECT_EQ(Bytes(body.begin() + 4, body.begin() + 4 + 1280), sample.block);
}

TEST(ResultInfo, SessionIdTravelsAtOffset572) {
  result_info record{};
  record.sub.session_id = 0x0A0B0C0D;
  EXPECT_EQ(word32(encoded(aaa_encap_result_info, record), 4 + 572), 0x0A0B0C0DU);
}

TEST(ResultInfo, FlagAArrivesAs1WhenNot0AndFlagBWhen1) {
  result_info record{};
  record.sub.flag_a = 2;
  record.sub.flag_b = 2;
  const Bytes body = encoded(aaa_encap_result_info, record);
  EXPECT_EQ(word16(body, 4 + 568), 2);
  const Decoded<result_info> decoded(body);
  EXPECT_EQ(decoded->sub.flag_a, 1);
  EXPECT_EQ(decoded->sub.flag_b, 0);
}

TEST(ResultInfo, FlagAIsReadAs16Bits) {
  Bytes block(1280);
  block[569] = 1;
  result_info record{};
  aaa_parse_result_info_sub(&record, block.data());
  EXPECT_EQ(record.sub.flag_a, 1);
}

TEST(ResultInfo, ReceivedOctetsAreWhateverThePeerPutAtOffset1000) {
  Bytes body = body_of<result_info>().body();
  std::fill(body.begin() + 4 + 1000, body.begin() + 4 + 1128, 0x77);
  const Decoded<result_info> record(body);
  EXPECT_THAT(record->sub.octets128_b, testing::Each(0x77));
  const Bytes sent = encoded(aaa_encap_result_info, *record);
  EXPECT_EQ(Bytes(sent.begin() + 4, sent.begin() + 1284), Bytes(1280));
}

TEST(ResultInfo, UnknownItemIsSkippedByItsLength) {
  const Bytes body = body_of<result_info>().header(5, 4).header(2, 3).item(2, "password").body();
  const Decoded<result_info> record(body);
  EXPECT_EQ(text(record->user_password), "password");
}

TEST(ResultInfo, UnknownItemOf2BytesTakes6) {
  const Bytes body = body_of<result_info>().item(5, "ab").item(2, "password").body();
  const Decoded<result_info> record(body);
  EXPECT_EQ(text(record->user_password), "password");
}

TEST(ResultInfo, Items318To320KeepPointingIntoTheBody) {
  const Bytes body =
      body_of<result_info>().item(318, "one").item(319, "2").item(320, "three").body();
  const Decoded<result_info> record(body);
  const std::uint8_t* items = body.data() + 4 + 1280;
  EXPECT_EQ(record->item_318.value, items + 4);
  EXPECT_EQ(record->item_318.len, 3);
  EXPECT_EQ(record->item_319.value, items + 11);
  EXPECT_EQ(record->item_319.len, 1);
  EXPECT_EQ(record->item_320.value, items + 16);
  EXPECT_EQ(record->item_320.len, 5);
  EXPECT_EQ(record->item_320.type, 320);
  EXPECT_EQ(record->arena.size, 10U) << "they take no room in the arena";
}

TEST(ResultInfo, Items318To320KeepTheirLengthsAloneWithoutTheBody) {
  const Bytes body =
      body_of<result_info>().item(318, "one").item(319, "2").item(320, "three").body();
  const auto size = static_cast<std::int32_t>(body.size());
  result_info* record = nullptr;
  ASSERT_EQ(aaa::decode_result_without_body(&record, body.data(), size), 1U);
  EXPECT_EQ(record->item_318.value, nullptr);
  EXPECT_EQ(record->item_318.len, 3);
  EXPECT_EQ(record->item_319.value, nullptr);
  EXPECT_EQ(record->item_319.len, 1);
  EXPECT_EQ(record->item_320.value, nullptr);
  EXPECT_EQ(record->item_320.len, 5);
  aaa_free_result_info(record);
  record = nullptr;
  EXPECT_EQ(aaa::decode_result_without_body(&record, body.data(), 4), 0U) << "too short";
  EXPECT_EQ(record, nullptr);
}

TEST(ResultInfo, Items318To320AreCutAtTheBodysEnd) {
  const Bytes body = body_of<result_info>().header(320, 100).bytes("abc").body();
  const Decoded<result_info> record(body);
  EXPECT_EQ(record->item_320.value, body.data() + 4 + 1280 + 4);
  EXPECT_EQ(record->item_320.len, 3);
}

TEST(ResultInfo, Items318To320AreNullWhenEmpty) {
  const Bytes body = body_of<result_info>()
                         .item(318, "")
                         .item(319, "was here")
                         .item(319, "")
                         .header(320, 9)
                         .body();
  const Decoded<result_info> record(body);
  for (const aaa_item& item : {record->item_318, record->item_319, record->item_320}) {
    EXPECT_EQ(item.value, nullptr) << item.type;
    EXPECT_EQ(item.len, 0) << item.type;
  }
}

TEST(ResultInfo, RepeatedTextKeepsTheSecondAndItsLength) {
  const TrackedHeap heap;
  const BlockCounts counts;
  const Bytes body = body_of<result_info>().item(302, "first one").item(302, "second").body();
  {
    const Decoded<result_info> record(body);
    EXPECT_EQ(record->text_302_len, 6U);
    EXPECT_EQ(text(record->text_302, 7), std::string("second\0", 7));
  }
  EXPECT_EQ(counts.live(), 1U) << "the first copy is not freed";
}

TEST(ResultInfo, RepeatedTextThatIsEmptyOnlySetsTheLength) {
  const Bytes body = body_of<result_info>().item(303, "first").item(303, "").body();
  const Decoded<result_info> record(body);
  EXPECT_EQ(record->text_303_len, 0U);
  EXPECT_EQ(text(record->text_303, 6), std::string("first\0", 6));
}

}  // namespace
}  // namespace test
