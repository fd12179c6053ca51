// The data 298, whose length stands in the fixed block.
#include <time.h>

#include <algorithm>
#include <string>

#include "codec/info_record_fixture.h"

namespace test {
namespace {

template <typename Record>
class ExtData : public InfoRecord<Record> {
 protected:
  using C = Codec<Record>;

  // A fixed block that claims `length` bytes of data.
  static std::string block_claiming(std::uint32_t length) {
    auto record = InfoRecord<Record>::empty_record();
    C::ext_data_len(record) = length;
    return InfoRecord<Record>::block_of(record);
  }
  // A body that begins with that block.
  static std::string claiming(std::uint32_t length) { return tlv(1, block_claiming(length)); }

  // Expects what a body's data is decoded to, filled up with zeros, and a block of as many bytes.
  void expect_data(const std::string& body, std::uint32_t length, std::string bytes,
                   std::size_t size) {
    SCOPED_TRACE("claimed " + std::to_string(length) + ", allocated " + std::to_string(size));
    bytes.resize(size);
    this->counts_ = LibraryCounters();
    const Decoded<Record> record(body);
    ASSERT_EQ(record.result(), 1U);
    EXPECT_EQ(C::ext_data_len(*record), length);
    const void* data = C::ext_data(*record);
    EXPECT_EQ(text(data, size), bytes);
    EXPECT_EQ(this->heap_.size_of(data), size);
    EXPECT_EQ(this->counts_.blocks_allocated(), 3U) << "the record, the data, the arena";
  }

  // What a record with this data is encoded to.
  std::string encode_with(const void* data, std::uint32_t length) {
    C::ext_data(this->record_) = data;
    C::ext_data_len(this->record_) = length;
    return this->encode();
  }
};
using ExtDataRecords = testing::Types<authen_info, result_info>;
TYPED_TEST_SUITE(ExtData, ExtDataRecords);

TYPED_TEST(ExtData, TravelsWithTheLengthInTheFixedBlock) {
  const std::string body = this->encode_with("ext data", 8);
  EXPECT_EQ(body.size(), TestFixture::C::empty_size + 8);
  EXPECT_THAT(items_of(body), testing::Contains(Item{298, "ext data"}));
  this->expect_data(body, 8, "ext data", 8);
}

TYPED_TEST(ExtData, LengthWithoutAPointerIsNeitherCountedNorWritten) {
  const std::string body = this->encode_with(nullptr, 8);
  EXPECT_EQ(body.size(), TestFixture::C::empty_size);
  EXPECT_THAT(items_of(body), testing::Contains(Item{298, ""}));
}

TYPED_TEST(ExtData, Over65535BytesIsCountedInFull) {
  const std::string value(65538, 'v');
  std::string body = this->encode_with(value.data(), 65538);
  EXPECT_EQ(body.size(), TestFixture::C::empty_size + 65538);
  body.resize(TestFixture::C::empty_size + 2);
  EXPECT_THAT(items_of(body), testing::Contains(Item{298, "vv"}));
}

TYPED_TEST(ExtData, ItsItemDoesNotSetItsLength) {
  const Decoded<TypeParam> record(body_of<TypeParam>() + tlv(298, "ext data"));
  EXPECT_EQ(TestFixture::C::ext_data_len(*record), 0U);
  EXPECT_EQ(text(TestFixture::C::ext_data(*record), 8), "ext data");
}

TYPED_TEST(ExtData, IsFilledUpWithZerosToTheLow16BitsOfItsLengthOrKeptWhole) {
  this->expect_data(this->claiming(2) + tlv(298, "ext data"), 2, "ext data", 8);
  this->expect_data(this->claiming(20) + tlv(298, "ext"), 20, "ext", 20);
  this->expect_data(this->claiming(65535) + tlv(298, "ext"), 65535, "ext", 65535);
  this->expect_data(this->claiming(65546) + tlv(298, "ten bytes."), 65546, "ten bytes.", 10);
  this->expect_data(this->claiming(65546) + tlv(298, "ext"), 65546, "ext", 10);
  this->expect_data(this->claiming(0x20000) + tlv(298, "ext"), 0x20000, "ext", 3);
}

TYPED_TEST(ExtData, BeforeTheFixedBlockIsAsLongAsThatClaims) {
  const auto items = tlv(298, "ext") + tlv(2, "x");
  this->expect_data(items + tlv(1, this->block_claiming(20)), 20, "ext", 20);
}

TYPED_TEST(ExtData, OfSeveralFixedBlocksTheLastOneClaims) {
  const auto items = this->claiming(5) + tlv(298, "ext");
  const auto another = [&](std::uint32_t claimed) {
    return items + tlv(1, this->block_claiming(claimed));
  };
  this->expect_data(another(9) + tlv(1, this->block_claiming(20)), 20, "ext", 20);
  this->expect_data(another(60000) + tlv(1, this->block_claiming(5)), 5, "ext", 5);
  // One of another length claims nothing, one that the body's end cuts claims zeros.
  const std::string other(TestFixture::C::block_size - 4, '\1');
  this->expect_data(items + tlv(1, other), 5, "ext", 5);
  const auto cut = items + tlv_head(1, TestFixture::C::block_size);
  this->expect_data(cut + this->block_claiming(20).substr(0, 100), 0, "ext", 3);
}

TYPED_TEST(ExtData, FixedBlockInsideAnUnknownItemClaimsWhereItIsRead) {
  const std::string block = this->block_claiming(20);
  const auto body =
      this->claiming(5) + tlv(298, "ext") + tlv_head(5, 4 + block.size()) + tlv(1, block);
  const std::uint32_t length = std::is_same_v<TypeParam, result_info> ? 5 : 20;
  this->expect_data(body, length, "ext", length);
}

TYPED_TEST(ExtData, RepeatedTakesOneBlockEach) {
  const Decoded<TypeParam> record(this->claiming(20) + tlv(298, "one") + tlv(298, "two"));
  EXPECT_EQ(text(TestFixture::C::ext_data(*record), 20), "two" + zeros(17));
  EXPECT_EQ(this->counts_.blocks_allocated(), 4U);
  this->blocks_left_ = 1;
}

TYPED_TEST(ExtData, WithoutMemoryForTheSecondTheFirstIsLongEnough) {
  const std::string body = this->claiming(20) + tlv(298, "one") + tlv(298, "two");
  const FailMalloc failure(3);
  const Decoded<TypeParam> record(body);
  ASSERT_EQ(record.result(), 1U);
  EXPECT_EQ(text(TestFixture::C::ext_data(*record), 20), "one" + zeros(17));
  EXPECT_EQ(this->counts_.blocks_allocated(), 3U) << "the record, the first item, the arena";
}

TYPED_TEST(ExtData, WhatWasDecodedIsEncodedWithoutReadingBehindTheBlock) {
  for (const std::uint32_t claimed : {20U, 65546U, 100000U}) {
    const Decoded<TypeParam> record(this->claiming(claimed) + tlv(298, "ext"));
    EXPECT_EQ(encoded_body(TestFixture::C::encode, *record).size(),
              TestFixture::C::empty_size + claimed);
  }
}

// The processor time that decoding so many bodies of so many data items each takes. Blocks of
// earlier items stay allocated, so that both ways of the test below leave the same.
template <typename Record>
std::int64_t nanoseconds_for(int bodies, int items) {
  std::string body = body_of<Record>();
  for (int i = 0; i < items; i++)
    body += tlv(298, "x");
  timespec start, end;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &start);
  for (int i = 0; i < bodies; i++)
    const Decoded<Record> record(body);
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &end);
  return (end.tv_sec - start.tv_sec) * 1'000'000'000LL + end.tv_nsec - start.tv_nsec;
}

TYPED_TEST(ExtData, ManyItemsTakeAsLongInOneBodyAsInMany) {
  std::int64_t in_one = INT64_MAX;
  std::int64_t in_many = INT64_MAX;
  for (int run = 0; run < 3; run++) {
    in_many = std::min(in_many, nanoseconds_for<TypeParam>(20, 2000));
    in_one = std::min(in_one, nanoseconds_for<TypeParam>(1, 40000));
  }
  EXPECT_LT(in_one, 5 * in_many);
  this->counts_ = LibraryCounters();
}

}  // namespace
}  // namespace test
