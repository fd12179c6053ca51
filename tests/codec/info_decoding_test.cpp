// Decoding of well-formed bodies, as it holds for all four info records.
#include <algorithm>
#include <string>

#include "codec/info_record_fixture.h"

namespace test {
namespace {

template <typename Record>
class InfoDecoding : public InfoRecord<Record> {};
TYPED_TEST_SUITE(InfoDecoding, InfoRecords);

TYPED_TEST(InfoDecoding, EmptyItemsAreDecodedAsNull) {
  using C = Codec<TypeParam>;
  auto empty = this->empty_record();
  const Bytes body = encoded(C::encode, empty);
  const Decoded<TypeParam> record(body);
  ASSERT_EQ(record.result(), 1U);
  for (const auto tag : C::arena_order) {
    EXPECT_EQ(this->text_of(*record, tag), "(null)") << tag;
  }
  for (const auto& data : C::datas) {
    EXPECT_EQ((*record).*data.data, nullptr);
    EXPECT_EQ((*record).*data.length, 0U);
  }
  EXPECT_EQ(record->arena.size, C::arena_order.size());
}

TYPED_TEST(InfoDecoding, ADescriptorsTypeTellsWhetherItsItemCame) {
  using C = Codec<TypeParam>;
  const Decoded<TypeParam> without(body_of<TypeParam>().body());
  auto empty = this->empty_record();
  const Decoded<TypeParam> with(encoded(C::encode, empty));
  for (const auto& descriptor : C::descriptors) {
    EXPECT_EQ(((*without).*descriptor.member).type, 0) << descriptor.tag;
    EXPECT_EQ(((*with).*descriptor.member).type, descriptor.tag);
  }
}

TYPED_TEST(InfoDecoding, ArenaHoldsTheValuesInOrderEachWithANul) {
  using C = Codec<TypeParam>;
  auto sent = this->empty_record();
  std::vector<std::string> values;
  for (const auto& descriptor : C::descriptors)
    values.push_back(std::to_string(descriptor.tag));
  for (std::size_t i = 0; i < values.size(); i++) {
    sent.*C::descriptors[i].member = item(values[i]);
  }
  std::string expected;
  for (const auto tag : C::arena_order)
    expected += std::to_string(tag) + '\0';
  const Bytes body = encoded(C::encode, sent);
  const Decoded<TypeParam> record(body);
  ASSERT_EQ(record.result(), 1U);
  EXPECT_EQ(record->arena.used, 0U);
  EXPECT_EQ(record->arena.size, expected.size());
  EXPECT_EQ(text(record->arena.base, record->arena.size), expected);
  for (const auto tag : C::arena_order) {
    EXPECT_EQ(this->text_of(*record, tag), std::to_string(tag));
  }
}

TYPED_TEST(InfoDecoding, EmptyDescriptorsLeaveNoGapAndTheArenaEndsInZeros) {
  using C = Codec<TypeParam>;
  const Bytes body = body_of<TypeParam>().item(2, "password").body();
  const Decoded<TypeParam> record(body);
  const std::string expected = "password" + std::string(C::arena_order.size(), '\0');
  EXPECT_EQ(record->arena.size, expected.size());
  EXPECT_EQ(text(record->arena.base, record->arena.size), expected);
}

TYPED_TEST(InfoDecoding, RecordDoesNotReferToTheBody) {
  Bytes body = body_of<TypeParam>().item(2, "password").item(299, "tail").body();
  const Decoded<TypeParam> record(body);
  std::fill(body.begin(), body.end(), 0xEE);
  EXPECT_EQ(text(record->user_password), "password");
  EXPECT_EQ(text(record->tail_data, 5), std::string("tail\0", 5));
}

TYPED_TEST(InfoDecoding, DataIsDecodedWithALengthAndANulBehindIt) {
  using C = Codec<TypeParam>;
  for (const auto& data : C::datas) {
    const Bytes body = body_of<TypeParam>().item(data.tag, "some data").body();
    const Decoded<TypeParam> record(body);
    EXPECT_EQ((*record).*data.length, 9U);
    EXPECT_EQ(text((*record).*data.data, 10), std::string("some data\0", 10));
    EXPECT_EQ(record->tail_pos, 0U);
  }
}

TYPED_TEST(InfoDecoding, ItemsMayComeInAnyOrder) {
  const Bytes body =
      BodyBuilder()
          .item(299, "tail")
          .item(2, "password")
          .bytes(text(body_of<TypeParam>().body().data(), Codec<TypeParam>::block_size + 4))
          .body();
  const Decoded<TypeParam> record(body);
  ASSERT_EQ(record.result(), 1U);
  EXPECT_EQ(text(record->user_password), "password");
  EXPECT_EQ(record->tail_len, 4U);
}

TYPED_TEST(InfoDecoding, RepeatedDescriptorKeepsTheLastOccurrence) {
  const Bytes body = body_of<TypeParam>().item(2, "first").item(2, "second").body();
  const Decoded<TypeParam> record(body);
  EXPECT_EQ(text(record->user_password), "second");
}

TYPED_TEST(InfoDecoding, RepeatedDescriptorThatIsEmptyEmptiesIt) {
  const Bytes body = body_of<TypeParam>().item(2, "first").item(2, "").body();
  const Decoded<TypeParam> record(body);
  EXPECT_EQ(text(record->user_password), "(null)");
}

TYPED_TEST(InfoDecoding, RepeatedTailLeavesTheSumOfTheLengthsAndTheSecondBuffer) {
  const Bytes body = body_of<TypeParam>().item(299, "first one").item(299, "second").body();
  {
    const Decoded<TypeParam> record(body);
    EXPECT_EQ(record->tail_len, 15U);
    EXPECT_EQ(text(record->tail_data, 16), "second" + std::string(10, '\0'));
    EXPECT_EQ(this->heap_.size_of(record->tail_data), 16U);
    EXPECT_EQ(this->counts_.allocated(), 4U) << "the record, one for each tail, the arena";
  }
  EXPECT_EQ(this->counts_.live(), 1U) << "the first copy is not freed";
  this->counts_ = BlockCounts();
}

TYPED_TEST(InfoDecoding, EmptyTailBetweenOthersChangesNothing) {
  const Bytes body = body_of<TypeParam>().item(299, "one").item(299, "").item(299, "second").body();
  {
    const Decoded<TypeParam> record(body);
    EXPECT_EQ(record->tail_len, 9U);
    EXPECT_EQ(text(record->tail_data, 10), std::string("second\0\0\0\0", 10));
  }
  this->counts_ = BlockCounts();
}

TEST(AcctInfoDecoding, RepeatedItem322LeavesTheSumOfTheLengthsAndTheSecondBuffer) {
  const TrackedHeap heap;
  const BlockCounts counts;
  const Bytes body = body_of<acct_info>().item(322, "one").item(299, "t").item(322, "two!").body();
  const Decoded<acct_info> record(body);
  EXPECT_EQ(record->data_322_len, 7U);
  EXPECT_EQ(text(record->data_322, 8), std::string("two!\0\0\0\0", 8));
  EXPECT_EQ(heap.size_of(record->data_322), 8U);
  EXPECT_EQ(record->tail_len, 1U);
  EXPECT_EQ(counts.allocated(), 5U);
}

}  // namespace
}  // namespace test
