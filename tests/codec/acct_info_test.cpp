#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "codec/block_sample.h"
#include "codec/records.h"
#include "support/failing_allocator.h"

namespace test {
namespace {

BlockSample<acct_info> acct_sample() {
  BlockSample<acct_info> sample(772);
  sample.same(0, &acct_info::num_a);
  sample.low_byte(4, &acct_info::code_a);
  sample.low_byte(5, &acct_info::code_b);
  sample.low_byte(6, &acct_info::code_c);
  sample.same(7, &acct_info::byte_a);
  sample.same(8, &acct_info::octets6_a);
  sample.same(14, &acct_info::octets6_b);
  sample.same(20, &acct_info::octets6_c);
  sample.same(26, &acct_info::octets100_a);
  sample.same(126, &acct_info::words8_a);
  sample.same(158, &acct_info::byte_b);
  sample.same(159, &acct_info::chars65_a);
  sample.same(224, &acct_info::words32_a);
  sample.same(352, &acct_info::byte_d);
  sample.same(354, &acct_info::short_a);
  sample.same(356, &acct_info::num_f);
  sample.same(360, &acct_info::num_c);
  sample.same(364, &acct_info::num_d);
  sample.same(368, &acct_info::num_e);
  sample.same(372, &acct_info::num_b);
  sample.same(376, &acct_info::words8_b);
  sample.same(408, &acct_info::session_id);
  sample.same(412, &acct_info::num_g);
  sample.same(416, &acct_info::num_k);
  sample.same(420, &acct_info::words4_a);
  sample.same(436, &acct_info::num_i);
  sample.same(440, &acct_info::num_j);
  sample.same(444, &acct_info::words7_a);
  sample.same(472, &acct_info::byte_c);
  sample.same(476, &acct_info::octets16_a);
  sample.same(492, &acct_info::octets16_b);
  sample.same(508, &acct_info::octets16_c);
  sample.same(524, &acct_info::num_h);
  sample.same(528, &acct_info::octets128_a);
  sample.same(656, &acct_info::short_b);
  sample.same(658, &acct_info::short_c);
  sample.flag(660, &acct_info::flag_a);
  sample.same(664, &acct_info::octets100_b);
  sample.same(764, &acct_info::num_l);
  sample.flag(768, &acct_info::flag_b);
  sample.not_carried(&acct_info::local_word);
  return sample;
}

TEST(AcctInfo, EveryFieldStandsAtItsPlaceInTheBlock) {
  const auto sample = acct_sample();
  Bytes block(772, 0xEE);
  aaa_encap_acct_info_sub(block.data(), &sample.sent);
  EXPECT_EQ(block, sample.block);
}

TEST(AcctInfo, EveryFieldIsReadFromItsPlaceInTheBlock) {
  const auto sample = acct_sample();
  acct_info record;
  std::memset(&record, 0, sizeof record);
  aaa_parse_acct_info_sub(&record, sample.received.data());
  EXPECT_TRUE(same_bytes(record, sample.arrived));
}

TEST(AcctInfo, BlockOfTheBodyIsTheFixedBlock) {
  auto sample = acct_sample();
  sample.sent.tail_len = 0;
  const Bytes body = encoded(aaa_encap_acct_info, sample.sent);
  EXPECT_EQ(word16(body, 0), 1);
  EXPECT_EQ(word16(body, 2), 772);
  EXPECT_EQ(Bytes(body.begin() + 4, body.begin() + 4 + 772), sample.block);
}

TEST(AcctInfo, FlagsOtherThan1ArriveAs0) {
  acct_info record{};
  record.flag_a = 2;
  record.flag_b = 255;
  const Decoded<acct_info> decoded(encoded(aaa_encap_acct_info, record));
  EXPECT_EQ(decoded->flag_a, 0);
  EXPECT_EQ(decoded->flag_b, 0);
}

TEST(AcctInfo, LocalWordNeverReachesThePeer) {
  acct_info record{};
  record.local_word = 0x11223344;
  const Bytes body = encoded(aaa_encap_acct_info, record);
  EXPECT_EQ(Bytes(body.begin() + 4, body.begin() + 776), Bytes(772));
}

TEST(AcctInfo, SessionIdTravelsAtOffset408) {
  acct_info record{};
  record.session_id = 0x0A0B0C0D;
  EXPECT_EQ(word32(encoded(aaa_encap_acct_info, record), 4 + 408), 0x0A0B0C0DU);
}

TEST(AcctInfo, RepeatedItem322LeavesTheSumOfTheLengthsAndTheSecondBuffer) {
  const TrackedHeap heap;
  const BlockCounts counts;
  const Bytes body = body_of<acct_info>().item(322, "first one").item(322, "second").body();
  {
    const Decoded<acct_info> record(body);
    EXPECT_EQ(record->pos_322, 0U);
    EXPECT_EQ(record->data_322_len, 15U);
    EXPECT_EQ(text(record->data_322, 16), "second" + std::string(10, '\0'));
  }
  EXPECT_EQ(counts.live(), 1U) << "the first copy is not freed";
}

}  // namespace
}  // namespace test
