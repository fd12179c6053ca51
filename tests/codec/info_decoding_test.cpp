// Decoding of well-formed bodies, as it holds for all four info records.
#include <algorithm>
#include <string>

#include "codec/info_record_fixture.h"
#include "codec/result_info.h"

namespace test {
namespace {

template <typename Record>
class InfoDecoding : public InfoRecord<Record> {};
TYPED_TEST_SUITE(InfoDecoding, InfoRecords);

TYPED_TEST(InfoDecoding, EmptyItemsAreNullAndADescriptorsTypeTellsWhetherItsItemCame) {
  using C = Codec<TypeParam>;
  const Decoded<TypeParam> without(body_of<TypeParam>());
  const Decoded<TypeParam> with(this->encode());
  ASSERT_EQ(with.result(), 1U);
  for (const auto& [tag, member] : C::descriptors) {
    EXPECT_EQ(text((*with).*member), "(null)") << tag;
    EXPECT_EQ(((*with).*member).type, tag);
    EXPECT_EQ(((*without).*member).type, 0) << tag;
  }
  for (const auto& data : C::datas) {
    EXPECT_EQ((*with).*data.data, nullptr);
    EXPECT_EQ((*with).*data.length, 0U);
  }
  EXPECT_EQ(with->arena.size, C::arena_order.size());
}

TYPED_TEST(InfoDecoding, ArenaHasTheValuesInOrderEachWithANul) {
  using C = Codec<TypeParam>;
  std::map<std::uint16_t, std::string> values;
  for (const auto& [tag, member] : C::descriptors)
    this->record_.*member = item(values[tag] = std::to_string(tag));
  std::string expected;
  for (const auto tag : C::arena_order)
    expected += values[tag] + '\0';
  const Decoded<TypeParam> record(this->encode());
  ASSERT_EQ(record.result(), 1U);
  EXPECT_EQ(record->arena.used, 0U);
  EXPECT_EQ(text(record->arena.base, record->arena.size), expected);
  for (const auto tag : C::arena_order)
    EXPECT_EQ(this->text_of(*record, tag), values[tag]);
}

TYPED_TEST(InfoDecoding, EmptyDescriptorsLeaveNoGapAndTheArenaEndsInZeros) {
  const Decoded<TypeParam> record(body_of<TypeParam>() + tlv(2, "password"));
  EXPECT_EQ(text(record->arena.base, record->arena.size),
            "password" + std::string(Codec<TypeParam>::arena_order.size(), '\0'));
}

TYPED_TEST(InfoDecoding, RecordDoesNotReferToTheBody) {
  std::string body = body_of<TypeParam>() + tlv(2, "password") + tlv(299, "tail");
  const Decoded<TypeParam> record(body);
  std::fill(body.begin(), body.end(), 0xEE);
  EXPECT_EQ(text(record->user_password), "password");
  EXPECT_EQ(text(record->tail_data, 5), std::string("tail\0", 5));
}

TYPED_TEST(InfoDecoding, DataIsDecodedWithALengthAndANulBehindIt) {
  for (const auto& data : Codec<TypeParam>::datas) {
    const Decoded<TypeParam> record(body_of<TypeParam>() + tlv(data.tag, "some data"));
    EXPECT_EQ((*record).*data.length, 9U);
    EXPECT_EQ(text((*record).*data.data, 10), std::string("some data\0", 10));
    EXPECT_EQ(record->tail_pos, 0U);
  }
}

TYPED_TEST(InfoDecoding, ItemsMayComeInAnyOrder) {
  const Decoded<TypeParam> record(tlv(299, "tail") + tlv(2, "password") +
                                  tlv(1, zeros(Codec<TypeParam>::block_size)));
  ASSERT_EQ(record.result(), 1U);
  EXPECT_EQ(text(record->user_password), "password");
  EXPECT_EQ(record->tail_len, 4U);
}

TYPED_TEST(InfoDecoding, RepeatedDescriptorKeepsTheLastOccurrence) {
  EXPECT_EQ(this->password_in(body_of<TypeParam>() + tlv(2, "first") + tlv(2, "second")), "second");
  EXPECT_EQ(this->password_in(body_of<TypeParam>() + tlv(2, "first") + tlv(2, "")), "(null)");
}

TYPED_TEST(InfoDecoding, OfAnUnknownItemOnlyAResultSkipsTheValue) {
  const auto whole = body_of<TypeParam>() + tlv_head(5, 4) + tlv_head(2, 3) + tlv(2, "abc");
  const auto two_bytes = body_of<TypeParam>() + tlv(5, "ab") + tlv(2, "abc");
  // The others read on in the value: an item 2 there, or {2, 3} out of it and the next two bytes.
  const auto inner = body_of<TypeParam>() + tlv_head(5, 4) + tlv_head(2, 3) + "abc";
  const auto across =
      body_of<TypeParam>() + tlv_head(5, 2) + hex("0200") + tlv_head(3, 0x6261) + "c";
  if constexpr (std::is_same_v<TypeParam, result_info>) {
    EXPECT_EQ(this->password_in(whole), "abc");
    EXPECT_EQ(this->password_in(two_bytes), "abc");
  } else {
    EXPECT_EQ(this->password_in(inner), "abc");
    EXPECT_EQ(this->password_in(across), "abc");
  }
}

TYPED_TEST(InfoDecoding, RepeatedTailLeavesTheSumOfTheLengthsAndTheSecondBuffer) {
  const Decoded<TypeParam> record(body_of<TypeParam>() + tlv(299, "first one") +
                                  tlv(299, "second"));
  EXPECT_EQ(record->tail_len, 15U);
  EXPECT_EQ(text(record->tail_data, 16), "second" + zeros(10));
  EXPECT_EQ(this->heap_.size_of(record->tail_data), 16U);
  EXPECT_EQ(this->counts_.blocks_allocated(), 4U) << "the record, one for each tail, the arena";
  this->blocks_left_ = 1;
}

TYPED_TEST(InfoDecoding, EmptyTailBetweenOthersChangesNothing) {
  const Decoded<TypeParam> record(body_of<TypeParam>() + tlv(299, "one") + tlv(299, "") +
                                  tlv(299, "second"));
  EXPECT_EQ(record->tail_len, 9U);
  EXPECT_EQ(text(record->tail_data, 10), std::string("second\0\0\0\0", 10));
  this->blocks_left_ = 1;
}

// The text 301, which three of the records have.
template <typename Record>
class InfoText : public InfoRecord<Record> {};
using TextRecords = testing::Types<authen_info, author_info, acct_info>;
TYPED_TEST_SUITE(InfoText, TextRecords);

TYPED_TEST(InfoText, TravelsWithoutItsNul) {
  this->record_.ext_text = "some text";
  const std::string body = this->encode();
  EXPECT_EQ(body.size(), Codec<TypeParam>::empty_size + 9);
  EXPECT_THAT(items_of(body), testing::Contains(Item{301, "some text"}));
  EXPECT_STREQ(Decoded<TypeParam>(body)->ext_text, "some text");
}

TYPED_TEST(InfoText, Over65535CharactersIsCountedInFull) {
  const std::string long_text(65539, 't');
  this->record_.ext_text = long_text.c_str();
  std::string body = this->encode();
  ASSERT_EQ(body.size(), Codec<TypeParam>::empty_size + 65539);
  EXPECT_EQ(body.substr(body.size() - 65536, 65536), zeros(65536));
  body.resize(body.size() - 65536);
  EXPECT_THAT(items_of(body), testing::Contains(Item{301, "ttt"}));
}

TYPED_TEST(InfoText, OfTwoTheSecondIsKept) {
  const Decoded<TypeParam> record(body_of<TypeParam>() + tlv(301, "one") + tlv(301, "two"));
  EXPECT_STREQ(record->ext_text, "two");
  this->blocks_left_ = 1;
}

TYPED_TEST(InfoText, ThatRunsPastTheBodysEndIsTerminated) {
  const Decoded<TypeParam> record(body_of<TypeParam>() + tlv_head(301, 500) + "abc");
  EXPECT_EQ(text(record->ext_text, 501), "abc" + zeros(498));
}

// The data 322, which two of the records have.
template <typename Record>
class InfoData322 : public InfoRecord<Record> {};
using RecordsWithData322 = testing::Types<acct_info, result_info>;
TYPED_TEST_SUITE(InfoData322, RecordsWithData322);

TYPED_TEST(InfoData322, RepeatedLeavesTheSumOfTheLengthsAndTheSecondBuffer) {
  const Decoded<TypeParam> record(body_of<TypeParam>() + tlv(322, "first one") + tlv(299, "t") +
                                  tlv(322, "second"));
  EXPECT_EQ(record->pos_322, 0U);
  EXPECT_EQ(record->data_322_len, 15U);
  EXPECT_EQ(text(record->data_322, 16), "second" + zeros(10));
  EXPECT_EQ(this->heap_.size_of(record->data_322), 16U);
  EXPECT_EQ(record->tail_len, 1U);
  EXPECT_EQ(this->counts_.blocks_allocated(), 5U);
  this->blocks_left_ = 1;
}

class ResultInfoDecoding : public InfoRecord<result_info> {};

TEST_F(ResultInfoDecoding, RepeatedTextKeepsTheSecondAndItsLength) {
  const Decoded<result_info> record(body_of<result_info>() + tlv(302, "first one") +
                                    tlv(302, "second"));
  EXPECT_EQ(record->text_302_len, 6U);
  EXPECT_EQ(text(record->text_302, 7), std::string("second\0", 7));
  blocks_left_ = 1;
}

TEST_F(ResultInfoDecoding, RepeatedTextThatIsEmptyOnlySetsTheLength) {
  const Decoded<result_info> record(body_of<result_info>() + tlv(303, "first") + tlv(303, ""));
  EXPECT_EQ(record->text_303_len, 0U);
  EXPECT_EQ(text(record->text_303, 6), std::string("first\0", 6));
}

TEST_F(ResultInfoDecoding, ReceivedOctetsAreWhateverThePeerPutAtOffset1000) {
  std::string body = body_of<result_info>();
  std::fill(body.begin() + 4 + 1000, body.begin() + 4 + 1128, 0x77);
  const Decoded<result_info> record(body);
  EXPECT_THAT(record->sub.octets128_b, testing::Each(0x77));
  EXPECT_EQ(encoded_body(aaa_encap_result_info, *record).substr(4, 1280), zeros(1280));
}

TEST_F(ResultInfoDecoding, Items318To320PointIntoTheBodyWhoseEndCutsThem) {
  const auto two = body_of<result_info>() + tlv(318, "one") + tlv(319, "2");
  const std::string body = two + tlv_head(320, 100) + "three";
  const Decoded<result_info> record(body);
  const char* items = body.data() + 4 + 1280;
  EXPECT_EQ(record->item_318.value, items + 4);
  EXPECT_EQ(record->item_318.len, 3);
  EXPECT_EQ(record->item_319.value, items + 11);
  EXPECT_EQ(record->item_319.len, 1);
  EXPECT_EQ(record->item_320.value, items + 16);
  EXPECT_EQ(record->item_320.len, 5);
  EXPECT_EQ(record->item_320.type, 320);
  EXPECT_EQ(record->arena.size, 10U) << "they take no room in the arena";
}

TEST_F(ResultInfoDecoding, WithoutTheBodyItems318To320KeepTheirLengthsAlone) {
  const std::string body =
      body_of<result_info>() + tlv(318, "one") + tlv(319, "2") + tlv(320, "three");
  const auto size = static_cast<std::int32_t>(body.size());
  result_info* record = nullptr;
  ASSERT_EQ(aaa::decode_result_without_body(&record, body.data(), size), 1U);
  const aaa_item* const items[] = {&record->item_318, &record->item_319, &record->item_320};
  for (const aaa_item* item : items)
    EXPECT_EQ(item->value, nullptr) << item->type;
  EXPECT_EQ(items[0]->len, 3);
  EXPECT_EQ(items[1]->len, 1);
  EXPECT_EQ(items[2]->len, 5);
  aaa_free_result_info(record);
  record = nullptr;
  EXPECT_EQ(aaa::decode_result_without_body(&record, body.data(), 4), 0U) << "too short";
  EXPECT_EQ(record, nullptr);
}

TEST_F(ResultInfoDecoding, Items318To320AreNullWhenEmpty) {
  const auto twice = body_of<result_info>() + tlv(318, "") + tlv(319, "was here") + tlv(319, "");
  const std::string body = twice + tlv_head(320, 9);
  const Decoded<result_info> record(body);
  for (const aaa_item& item : {record->item_318, record->item_319, record->item_320}) {
    EXPECT_EQ(item.value, nullptr) << item.type;
    EXPECT_EQ(item.len, 0) << item.type;
  }
}

}  // namespace
}  // namespace test
