// The data 298, whose length stands in the fixed block.
#include <time.h>

#include <algorithm>
#include <string>

#include "codec/info_record_fixture.h"

namespace test {
namespace {

template <typename Record>
class ExtDataRecord : public InfoRecord<Record> {
 protected:
  // A fixed block that claims `length` bytes of data.
  static std::string block_claiming(std::uint32_t length) {
    auto record = InfoRecord<Record>::empty_record();
    Codec<Record>::ext_data_len(record) = length;
    Bytes block(Codec<Record>::block_size);
    Codec<Record>::encode_block(block.data(), &record);
    return text(block.data(), block.size());
  }

  // Expects what a body's data is decoded to, and a block of as many bytes.
  void expect_ext_data(const Bytes& body, std::uint32_t length, const std::string& bytes) {
    this->counts_ = BlockCounts();
    const Decoded<Record> record(body);
    ASSERT_EQ(record.result(), 1U);
    EXPECT_EQ(Codec<Record>::ext_data_len(*record), length);
    const void* data = Codec<Record>::ext_data(*record);
    EXPECT_EQ(text(data, bytes.size()), bytes);
    EXPECT_EQ(this->heap_.size_of(data), bytes.size());
    EXPECT_EQ(this->counts_.allocated(), 3U) << "the record, the data, the arena";
  }
};
using ExtDataRecords = testing::Types<authen_info, result_info>;
TYPED_TEST_SUITE(ExtDataRecord, ExtDataRecords);

TYPED_TEST(ExtDataRecord, ExtDataTravelsWithTheLengthInTheFixedBlock) {
  using C = Codec<TypeParam>;
  auto record = this->empty_record();
  C::ext_data(record) = "ext data";
  C::ext_data_len(record) = 8;
  const Bytes body = encoded(C::encode, record);
  EXPECT_EQ(body.size(), C::empty_size + 8);
  EXPECT_THAT(items_of(body), testing::Contains(Item{298, "ext data"}));
  const BlockCounts counts;
  const Decoded<TypeParam> decoded(body);
  EXPECT_EQ(text(C::ext_data(*decoded), C::ext_data_len(*decoded)), "ext data");
  EXPECT_EQ(counts.allocated(), 3U) << "the record, the data, the arena";
}

TYPED_TEST(ExtDataRecord, ExtDataLengthWithoutAPointerIsNeitherCountedNorWritten) {
  using C = Codec<TypeParam>;
  auto record = this->empty_record();
  C::ext_data_len(record) = 8;
  const Bytes body = encoded(C::encode, record);
  EXPECT_EQ(body.size(), C::empty_size);
  EXPECT_THAT(items_of(body), testing::Contains(Item{298, ""}));
}

TYPED_TEST(ExtDataRecord, ExtDataOver65535BytesIsCountedInFull) {
  using C = Codec<TypeParam>;
  const std::string value(65538, 'v');
  auto record = this->empty_record();
  C::ext_data(record) = value.data();
  C::ext_data_len(record) = 65538;
  Bytes body = encoded(C::encode, record);
  EXPECT_EQ(body.size(), C::empty_size + 65538);
  body.resize(C::empty_size + 2);
  EXPECT_THAT(items_of(body), testing::Contains(Item{298, "vv"}));
}

TYPED_TEST(ExtDataRecord, DecodingExtDataDoesNotSetItsLength) {
  using C = Codec<TypeParam>;
  const Bytes body = body_of<TypeParam>().item(298, "ext data").body();
  const Decoded<TypeParam> record(body);
  EXPECT_EQ(C::ext_data_len(*record), 0U);
  EXPECT_EQ(text(C::ext_data(*record), 8), "ext data");
}

TYPED_TEST(ExtDataRecord, ExtDataShorterThanClaimedIsFilledUpWithZeros) {
  for (const std::uint32_t claimed : {20U, 65535U}) {
    const Bytes body = BodyBuilder().item(1, this->block_claiming(claimed)).item(298, "ext").body();
    this->expect_ext_data(body, claimed, "ext" + std::string(claimed - 3, '\0'));
  }
}

TYPED_TEST(ExtDataRecord, ExtDataIsAsLongAsTheLow16BitsOfItsLength) {
  const Bytes ten =
      BodyBuilder().item(1, this->block_claiming(65546)).item(298, "ten bytes.").body();
  this->expect_ext_data(ten, 65546, "ten bytes.");
  const Bytes three = BodyBuilder().item(1, this->block_claiming(65546)).item(298, "ext").body();
  this->expect_ext_data(three, 65546, "ext" + std::string(7, '\0'));
  const Bytes none = BodyBuilder().item(1, this->block_claiming(0x20000)).item(298, "ext").body();
  this->expect_ext_data(none, 0x20000, "ext");
}

TYPED_TEST(ExtDataRecord, ExtDataLongerThanClaimedIsKeptWhole) {
  const Bytes body = BodyBuilder().item(1, this->block_claiming(2)).item(298, "ext data").body();
  this->expect_ext_data(body, 2, "ext data");
}

TYPED_TEST(ExtDataRecord, ExtDataBeforeTheFixedBlockIsAsLongAsThatClaims) {
  const Bytes body =
      BodyBuilder().item(298, "ext").item(2, "x").item(1, this->block_claiming(20)).body();
  this->expect_ext_data(body, 20, "ext" + std::string(17, '\0'));
}

TYPED_TEST(ExtDataRecord, OfSeveralFixedBlocksTheLastOneClaims) {
  const Bytes growing = BodyBuilder()
                            .item(1, this->block_claiming(5))
                            .item(298, "ext")
                            .item(1, this->block_claiming(9))
                            .item(1, this->block_claiming(20))
                            .body();
  this->expect_ext_data(growing, 20, "ext" + std::string(17, '\0'));
  const Bytes shrinking = BodyBuilder()
                              .item(1, this->block_claiming(60000))
                              .item(298, "ext")
                              .item(1, this->block_claiming(5))
                              .body();
  this->expect_ext_data(shrinking, 5, std::string("ext\0\0", 5));
}

TYPED_TEST(ExtDataRecord, FixedBlockOfAnotherLengthClaimsNothing) {
  const Bytes body = BodyBuilder()
                         .item(1, this->block_claiming(5))
                         .item(298, "ext")
                         .item(1, std::string(Codec<TypeParam>::block_size - 4, '\1'))
                         .body();
  this->expect_ext_data(body, 5, std::string("ext\0\0", 5));
}

TYPED_TEST(ExtDataRecord, FixedBlockThatTheBodysEndCutsClaimsZeros) {
  Bytes body = BodyBuilder()
                   .item(1, this->block_claiming(5))
                   .item(298, "ext")
                   .item(1, this->block_claiming(20))
                   .body();
  body.resize(body.size() - Codec<TypeParam>::block_size + 100);
  this->expect_ext_data(body, 0, "ext");
}

TYPED_TEST(ExtDataRecord, FixedBlockInsideAnUnknownItemClaimsWhereItIsRead) {
  const std::string block = this->block_claiming(20);
  const Bytes body = BodyBuilder()
                         .item(1, this->block_claiming(5))
                         .item(298, "ext")
                         .header(5, 4 + block.size())
                         .item(1, block)
                         .body();
  const bool is_result = std::is_same_v<TypeParam, result_info>;
  const std::uint32_t length = is_result ? 5 : 20;
  this->expect_ext_data(body, length, "ext" + std::string(length - 3, '\0'));
}

TYPED_TEST(ExtDataRecord, RepeatedExtDataTakesOneBlockEach) {
  const Bytes body =
      BodyBuilder().item(1, this->block_claiming(20)).item(298, "one").item(298, "two").body();
  {
    const Decoded<TypeParam> record(body);
    const void* data = Codec<TypeParam>::ext_data(*record);
    EXPECT_EQ(text(data, 20), "two" + std::string(17, '\0'));
    EXPECT_EQ(this->counts_.allocated(), 4U);
  }
  EXPECT_EQ(this->counts_.live(), 1U) << "the first copy is not freed";
  this->counts_ = BlockCounts();
}

TYPED_TEST(ExtDataRecord, WithoutMemoryForTheSecondTheFirstIsLongEnough) {
  using C = Codec<TypeParam>;
  const Bytes body =
      BodyBuilder().item(1, this->block_claiming(20)).item(298, "one").item(298, "two").body();
  TypeParam* record = nullptr;
  {
    const FailMalloc failure(3);
    C::decode(&record, body.data(), static_cast<std::int32_t>(body.size()));
  }
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(text(C::ext_data(*record), 20), "one" + std::string(17, '\0'));
  EXPECT_EQ(this->counts_.allocated(), 3U) << "the record, the first item, the arena";
  C::release(record);
}

TYPED_TEST(ExtDataRecord, WhatWasDecodedIsEncodedWithoutReadingBehindTheBlock) {
  using C = Codec<TypeParam>;
  for (const std::uint32_t claimed : {20U, 65546U, 100000U}) {
    const Bytes body = BodyBuilder().item(1, this->block_claiming(claimed)).item(298, "ext").body();
    const Decoded<TypeParam> record(body);
    EXPECT_EQ(encoded(C::encode, *record).size(), C::empty_size + claimed);
  }
}

// The processor time that decoding so many bodies of so many data items each takes. Blocks of
// earlier items stay allocated, so that both ways of the test below leave the same.
template <typename Record>
std::int64_t nanoseconds_for(int bodies, int items) {
  auto builder = body_of<Record>();
  for (int i = 0; i < items; i++)
    builder.item(298, "x");
  timespec start, end;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &start);
  for (int i = 0; i < bodies; i++)
    const Decoded<Record> record(builder.body());
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &end);
  return (end.tv_sec - start.tv_sec) * 1'000'000'000LL + end.tv_nsec - start.tv_nsec;
}

TYPED_TEST(ExtDataRecord, ManyItemsTakeAsLongInOneBodyAsInMany) {
  std::int64_t in_one = INT64_MAX;
  std::int64_t in_many = INT64_MAX;
  for (int run = 0; run < 3; run++) {
    in_many = std::min(in_many, nanoseconds_for<TypeParam>(20, 2000));
    in_one = std::min(in_one, nanoseconds_for<TypeParam>(1, 40000));
  }
  EXPECT_LT(in_one, 5 * in_many);
  this->counts_ = BlockCounts();
}

}  // namespace
}  // namespace test
