// Every allocation of the encoders and decoders made to fail in turn.
#include <string>
#include <type_traits>

#include "codec/info_record_fixture.h"
#include "support/failing_allocator.h"

namespace test {
namespace {

template <typename Record>
class AllocationFailure : public InfoRecord<Record> {
 protected:
  // A body with a string or data in every item that gets a block of its own.
  static Bytes full_body() {
    auto builder = body_of<Record>().item(2, "password");
    for (const auto tag : Codec<Record>::data_order)
      builder.item(tag, "some data");
    return builder.body();
  }

  struct Outcome {
    std::uint32_t result;
    Record* record;
  };

  // Decodes with the `call`-th allocation failing.
  Outcome decode(const Bytes& body, std::uint32_t call) {
    this->counts_ = BlockCounts();
    const FailMalloc failure(call);
    Outcome outcome{0, nullptr};
    outcome.result =
        Codec<Record>::decode(&outcome.record, body.data(), static_cast<std::int32_t>(body.size()));
    EXPECT_TRUE(failure.happened());
    EXPECT_EQ(this->counts_.failed(), 1U);
    return outcome;
  }
};
TYPED_TEST_SUITE(AllocationFailure, InfoRecords);

TYPED_TEST(AllocationFailure, EncoderReturns0AndStoresNothing) {
  auto record = this->empty_record();
  void* body = &record;
  const FailMalloc failure(1);
  EXPECT_EQ(Codec<TypeParam>::encode(&record, &body), 0U);
  EXPECT_EQ(body, &record);
  EXPECT_EQ(this->counts_.failed(), 1U);
  EXPECT_EQ(this->counts_.allocated(), 0U);
}

TYPED_TEST(AllocationFailure, DecoderWithoutARecordReturns0) {
  const auto outcome = this->decode(this->full_body(), 1);
  EXPECT_EQ(outcome.result, 0U);
  EXPECT_EQ(outcome.record, nullptr);
  EXPECT_EQ(this->counts_.allocated(), 0U);
}

TYPED_TEST(AllocationFailure, OfOneItemDropsThatItemAlone) {
  using C = Codec<TypeParam>;
  const Bytes body = this->full_body();
  for (std::uint32_t i = 0; i < C::data_order.size(); i++) {
    const auto outcome = this->decode(body, 2 + i);
    ASSERT_EQ(outcome.result, 1U);
    EXPECT_EQ(text(outcome.record->user_password), "password");
    for (const auto& data : C::datas) {
      const bool dropped = data.tag == C::data_order[i];
      EXPECT_EQ(text(outcome.record->*data.data, 9), dropped ? "(null)" : "some data") << data.tag;
    }
    C::release(outcome.record);
    EXPECT_EQ(this->counts_.allocated(), 1 + C::data_order.size());
    EXPECT_EQ(this->counts_.live(), 0U);
  }
}

TYPED_TEST(AllocationFailure, OfTheTailLeavesItsLengthAt0) {
  const auto outcome = this->decode(body_of<TypeParam>().item(299, "tail").body(), 2);
  EXPECT_EQ(outcome.record->tail_len, 0U);
  EXPECT_EQ(outcome.record->tail_data, nullptr);
  Codec<TypeParam>::release(outcome.record);
}

TYPED_TEST(AllocationFailure, OfARepeatedTailKeepsTheFirst) {
  const auto outcome =
      this->decode(body_of<TypeParam>().item(299, "tail").item(299, "again").body(), 3);
  EXPECT_EQ(text(outcome.record->tail_data, outcome.record->tail_len), "tail");
  Codec<TypeParam>::release(outcome.record);
}

TYPED_TEST(AllocationFailure, OfOneOfSeveralTailsLeavesItsLengthOut) {
  const Bytes body =
      body_of<TypeParam>().item(299, "tail").item(299, "without memory").item(299, "end").body();
  const auto outcome = this->decode(body, 3);
  ASSERT_EQ(outcome.result, 1U);
  EXPECT_EQ(outcome.record->tail_len, 7U);
  EXPECT_EQ(text(outcome.record->tail_data, 8), std::string("end\0\0\0\0\0", 8));
  EXPECT_EQ(this->heap_.size_of(outcome.record->tail_data), 8U);
  EXPECT_EQ(this->counts_.allocated(), 4U) << "the record, two tails, the arena";
  Codec<TypeParam>::release(outcome.record);
  EXPECT_EQ(this->counts_.live(), 1U) << "the first copy is not freed";
  this->counts_ = BlockCounts();
}

TYPED_TEST(AllocationFailure, OfTheArenaReleasesTheItemsAndTheRecord) {
  using C = Codec<TypeParam>;
  const auto outcome =
      this->decode(this->full_body(), static_cast<std::uint32_t>(2 + C::data_order.size()));
  EXPECT_EQ(outcome.result, 0U);
  EXPECT_EQ(outcome.record, nullptr);
  EXPECT_EQ(this->counts_.allocated(), 1 + C::data_order.size());
  // The result's item 321 is the one block that stays.
  const bool is_result = std::is_same_v<TypeParam, result_info>;
  EXPECT_EQ(this->counts_.live(), is_result ? 1U : 0U);
  this->counts_ = BlockCounts();
}

TYPED_TEST(AllocationFailure, OfTheArenaWithEmptyItemsLeavesNothing) {
  const auto outcome = this->decode(body_of<TypeParam>().body(), 2);
  EXPECT_EQ(outcome.result, 0U);
}

TEST(ResultAllocationFailure, OfAText302KeepsItsLengthWithoutAPointer) {
  const Bytes body = body_of<result_info>().item(302, "some text").body();
  result_info* record = nullptr;
  {
    const FailMalloc failure(2);
    aaa_parse_result_info(&record, body.data(), static_cast<std::int32_t>(body.size()));
  }
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->text_302_len, 9U);
  EXPECT_EQ(record->text_302, nullptr);
  aaa_free_result_info(record);
}

// Decodes with the third allocation failing, which is the second item's.
class RepeatedResultData : public testing::TestWithParam<Data<result_info>> {
 protected:
  result_info* decode(const Bytes& body) {
    result_info* record = nullptr;
    const FailMalloc failure(3);
    aaa_parse_result_info(&record, body.data(), static_cast<std::int32_t>(body.size()));
    EXPECT_TRUE(failure.happened());
    return record;
  }

  TrackedHeap heap_;
  BlockCounts counts_;
};

INSTANTIATE_TEST_SUITE_P(
    , RepeatedResultData,
    testing::Values(Data<result_info>{302, &result_info::text_302, &result_info::text_302_len},
                    Data<result_info>{303, &result_info::text_303, &result_info::text_303_len},
                    Data<result_info>{321, &result_info::data_321, &result_info::data_321_len}),
    [](const auto& data) { return std::to_string(data.param.tag); });

TEST_P(RepeatedResultData, WithoutMemoryForTheSecondKeepsTheFirstAndTheSecondsLength) {
  const auto& data = GetParam();
  result_info* record =
      decode(body_of<result_info>().item(data.tag, "one").item(data.tag, "another").body());
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->*data.length, 7U);
  EXPECT_EQ(text(record->*data.data, 8), std::string("one\0\0\0\0\0", 8));
  EXPECT_EQ(heap_.size_of(record->*data.data), 8U);
  EXPECT_EQ(counts_.allocated(), 3U) << "the record, the first item, the arena";
  aaa_free_result_info(record);
  EXPECT_EQ(counts_.live(), 0U);
}

TEST_P(RepeatedResultData, WithoutMemoryForAShorterSecondKeepsTheFirstWhole) {
  const auto& data = GetParam();
  result_info* record =
      decode(body_of<result_info>().item(data.tag, "first one").item(data.tag, "two").body());
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->*data.length, 3U);
  EXPECT_EQ(text(record->*data.data, 10), std::string("first one\0", 10));
  EXPECT_EQ(counts_.allocated(), 3U);
  aaa_free_result_info(record);
}

TEST_P(RepeatedResultData, AnEmptyThirdSetsTheLengthTo0) {
  const auto& data = GetParam();
  result_info* record = decode(body_of<result_info>()
                                   .item(data.tag, "one")
                                   .item(data.tag, "another")
                                   .item(data.tag, "")
                                   .body());
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->*data.length, 0U);
  EXPECT_EQ(text(record->*data.data, 4), std::string("one\0", 4));
  aaa_free_result_info(record);
}

}  // namespace
}  // namespace test
