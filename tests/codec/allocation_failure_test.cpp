// Every allocation of the encoders and decoders made to fail in turn.
#include <string>
#include <type_traits>

#include "codec/info_record_fixture.h"

namespace test {
namespace {

template <typename Record>
class AllocationFailure : public InfoRecord<Record> {
 protected:
  // A body with a string or data in every item that gets a block of its own.
  static std::string full_body() {
    std::string body = body_of<Record>() + tlv(2, "password");
    for (const auto tag : Codec<Record>::data_order)
      body += tlv(tag, "some data");
    return body;
  }

  // Decodes with the `call`-th allocation failing.
  Decoded<Record> decode(const std::string& body, std::size_t call) {
    this->counts_ = LibraryCounters();
    const FailMalloc failure(static_cast<std::uint32_t>(call));
    Decoded<Record> record(body);
    EXPECT_TRUE(failure.happened());
    EXPECT_EQ(this->counts_.blocks_failed(), 1U);
    return record;
  }
};
TYPED_TEST_SUITE(AllocationFailure, InfoRecords);

TYPED_TEST(AllocationFailure, EncoderReturns0AndStoresNothing) {
  void* body = &this->record_;
  const FailMalloc failure(1);
  EXPECT_EQ(Codec<TypeParam>::encode(&this->record_, &body), 0U);
  EXPECT_EQ(body, &this->record_);
  EXPECT_EQ(this->counts_.blocks_failed(), 1U);
  EXPECT_EQ(this->counts_.blocks_allocated(), 0U);
}

TYPED_TEST(AllocationFailure, DecoderWithoutARecordReturns0) {
  const auto record = this->decode(this->full_body(), 1);
  EXPECT_EQ(record.result(), 0U);
  EXPECT_EQ(record.get(), nullptr);
  EXPECT_EQ(this->counts_.blocks_allocated(), 0U);
}

TYPED_TEST(AllocationFailure, OfOneItemDropsThatItemAlone) {
  using C = Codec<TypeParam>;
  for (std::size_t i = 0; i < C::data_order.size(); i++) {
    {
      const auto record = this->decode(this->full_body(), 2 + i);
      ASSERT_EQ(record.result(), 1U);
      EXPECT_EQ(text(record->user_password), "password");
      for (const auto& data : C::datas) {
        const bool dropped = data.tag == C::data_order[i];
        EXPECT_EQ(text((*record).*data.data, 9), dropped ? "(null)" : "some data") << data.tag;
      }
    }
    EXPECT_EQ(this->counts_.blocks_allocated(), 1 + C::data_order.size());
    EXPECT_EQ(this->counts_.blocks_left(), 0U);
  }
}

TYPED_TEST(AllocationFailure, OfTheTailLeavesItsLengthAt0) {
  const auto record = this->decode(body_of<TypeParam>() + tlv(299, "tail"), 2);
  EXPECT_EQ(record->tail_len, 0U);
  EXPECT_EQ(record->tail_data, nullptr);
}

TYPED_TEST(AllocationFailure, OfARepeatedTailKeepsTheFirst) {
  const auto body = body_of<TypeParam>() + tlv(299, "tail") + tlv(299, "again");
  const auto record = this->decode(body, 3);
  EXPECT_EQ(text(record->tail_data, record->tail_len), "tail");
}

TYPED_TEST(AllocationFailure, OfOneOfSeveralTailsLeavesItsLengthOut) {
  const std::string body =
      body_of<TypeParam>() + tlv(299, "tail") + tlv(299, "without memory") + tlv(299, "end");
  const auto record = this->decode(body, 3);
  ASSERT_EQ(record.result(), 1U);
  EXPECT_EQ(record->tail_len, 7U);
  EXPECT_EQ(text(record->tail_data, 8), std::string("end\0\0\0\0\0", 8));
  EXPECT_EQ(this->heap_.size_of(record->tail_data), 8U);
  EXPECT_EQ(this->counts_.blocks_allocated(), 4U) << "the record, two tails, the arena";
  this->blocks_left_ = 1;
}

TYPED_TEST(AllocationFailure, OfTheArenaReleasesTheItemsAndTheRecord) {
  const std::size_t items = Codec<TypeParam>::data_order.size();
  const auto record = this->decode(this->full_body(), 2 + items);
  EXPECT_EQ(record.result(), 0U);
  EXPECT_EQ(record.get(), nullptr);
  EXPECT_EQ(this->counts_.blocks_allocated(), 1 + items);
  // The result's item 321 is the one block that stays.
  this->blocks_left_ = std::is_same_v<TypeParam, result_info> ? 1 : 0;
}

TYPED_TEST(AllocationFailure, OfTheArenaWithEmptyItemsLeavesNothing) {
  EXPECT_EQ(this->decode(body_of<TypeParam>(), 2).result(), 0U);
}

// The data whose repetition a result replaces.
class ResultAllocationFailure : public AllocationFailure<result_info>,
                                public testing::WithParamInterface<Data<result_info>> {
 protected:
  static std::string with(const std::string& first) {
    return body_of<result_info>() + tlv(GetParam().tag, first);
  }
  static void expect_data(const Decoded<result_info>& record, std::uint32_t length,
                          const std::string& bytes) {
    ASSERT_EQ(record.result(), 1U);
    EXPECT_EQ((*record).*GetParam().length, length);
    EXPECT_EQ(text((*record).*GetParam().data, bytes.size()), bytes);
  }
};

INSTANTIATE_TEST_SUITE_P(
    , ResultAllocationFailure,
    testing::Values(Data<result_info>{302, &result_info::text_302, &result_info::text_302_len},
                    Data<result_info>{303, &result_info::text_303, &result_info::text_303_len},
                    Data<result_info>{321, &result_info::data_321, &result_info::data_321_len}),
    [](const auto& data) { return std::to_string(data.param.tag); });

TEST_P(ResultAllocationFailure, OfTheOnlyItemKeepsItsLengthWithoutAPointer) {
  const auto record = decode(with("some text"), 2);
  ASSERT_EQ(record.result(), 1U);
  EXPECT_EQ((*record).*GetParam().length, 9U);
  EXPECT_EQ((*record).*GetParam().data, nullptr);
}

TEST_P(ResultAllocationFailure, OfTheSecondKeepsTheFirstAndTheSecondsLength) {
  const auto record = decode(with("one") + tlv(GetParam().tag, "another"), 3);
  expect_data(record, 7, std::string("one\0\0\0\0\0", 8));
  EXPECT_EQ(heap_.size_of((*record).*GetParam().data), 8U);
  EXPECT_EQ(counts_.blocks_allocated(), 3U) << "the record, the first item, the arena";
}

TEST_P(ResultAllocationFailure, OfAShorterSecondKeepsTheFirstWhole) {
  const auto record = decode(with("first one") + tlv(GetParam().tag, "two"), 3);
  expect_data(record, 3, std::string("first one\0", 10));
  EXPECT_EQ(counts_.blocks_allocated(), 3U);
}

TEST_P(ResultAllocationFailure, OfTheSecondBeforeAnEmptyThirdSetsTheLengthTo0) {
  const auto body = with("one") + tlv(GetParam().tag, "another") + tlv(GetParam().tag, "");
  expect_data(decode(body, 3), 0, std::string("one\0", 4));
}

}  // namespace
}  // namespace test
