// Encoding, as it holds for all four info records.
#include <algorithm>
#include <limits>
#include <string>

#include "codec/info_record_fixture.h"

namespace test {
namespace {

template <typename Record>
class InfoEncoding : public InfoRecord<Record> {};
TYPED_TEST_SUITE(InfoEncoding, InfoRecords);

TYPED_TEST(InfoEncoding, EmptyRecordIsTheFixedItemAndEmptyHeaders) {
  using C = Codec<TypeParam>;
  auto record = this->empty_record();
  const Bytes body = encoded(C::encode, record);
  ASSERT_EQ(body.size(), C::empty_size);
  const auto items = items_of(body);
  ASSERT_EQ(items.size(), 1 + C::descriptors.size() + C::data_order.size());
  EXPECT_EQ(items[0], (Item{1, std::string(C::block_size, '\0')}));
  EXPECT_TRUE(std::all_of(items.begin() + 1, items.end(),
                          [](const Item& item) { return item.value.empty(); }));
}

TYPED_TEST(InfoEncoding, ItemsStandInTheirFixedOrder) {
  using C = Codec<TypeParam>;
  auto record = this->empty_record();
  std::vector<std::uint16_t> expected = {1};
  for (const auto& descriptor : C::descriptors)
    expected.push_back(descriptor.tag);
  expected.insert(expected.end(), C::data_order.begin(), C::data_order.end());
  std::vector<std::uint16_t> types;
  for (const Item& item : items_of(encoded(C::encode, record)))
    types.push_back(item.type);
  EXPECT_EQ(types, expected);
}

TYPED_TEST(InfoEncoding, EveryItemCarriesItsOwnValue) {
  using C = Codec<TypeParam>;
  auto record = this->empty_record();
  std::vector<std::string> values;
  for (std::size_t i = 0; i < 30; i++)
    values.push_back("value" + std::string(i + 1, 'a' + 1));
  std::vector<Item> expected;
  std::size_t next = 0;
  for (const auto& descriptor : C::descriptors) {
    record.*descriptor.member = item(values[next]);
    expected.push_back({descriptor.tag, values[next++]});
  }
  std::uint32_t total = C::empty_size;
  for (const Item& one : expected)
    total += static_cast<std::uint32_t>(one.value.size());
  for (const auto& data : C::datas) {
    record.*data.data = values[next].data();
    record.*data.length = static_cast<std::uint32_t>(values[next].size());
    total += static_cast<std::uint32_t>(values[next].size());
    expected.push_back({data.tag, values[next++]});
  }
  const Bytes body = encoded(C::encode, record);
  EXPECT_EQ(body.size(), total);
  const auto items = items_of(body);
  for (const Item& one : expected)
    EXPECT_THAT(items, testing::Contains(one));
}

TYPED_TEST(InfoEncoding, EncoderWritesTheTagNumbersIntoTheDescriptors) {
  using C = Codec<TypeParam>;
  auto record = this->empty_record();
  for (const auto& descriptor : C::descriptors)
    (record.*descriptor.member).type = 7;
  encoded(C::encode, record);
  for (const auto& descriptor : C::descriptors) {
    EXPECT_EQ((record.*descriptor.member).type, descriptor.tag);
  }
}

TYPED_TEST(InfoEncoding, EncoderRefusesNullArguments) {
  using C = Codec<TypeParam>;
  auto record = this->empty_record();
  void* body = &record;
  EXPECT_EQ(C::encode(nullptr, &body), 0U);
  EXPECT_EQ(body, &record);
  EXPECT_EQ(C::encode(&record, nullptr), 0U);
  EXPECT_EQ(this->counts_.allocated(), 0U);
}

TYPED_TEST(InfoEncoding, EncoderMakesOneBlock) {
  auto record = this->empty_record();
  encoded(Codec<TypeParam>::encode, record);
  EXPECT_EQ(this->counts_.allocated(), 1U);
}

TYPED_TEST(InfoEncoding, DescriptorWithALengthButNoValueIsWrittenAsZeros) {
  using C = Codec<TypeParam>;
  auto record = this->empty_record();
  record.user_password.len = 5;
  const Bytes body = encoded(C::encode, record);
  EXPECT_EQ(body.size(), C::empty_size + 5);
  EXPECT_THAT(items_of(body), testing::Contains(Item{2, std::string(5, '\0')}));
}

TYPED_TEST(InfoEncoding, DataWithALengthButNoPointerIsWrittenAsZeros) {
  using C = Codec<TypeParam>;
  for (const auto& data : C::datas) {
    auto record = this->empty_record();
    record.*data.length = 9;
    const Bytes body = encoded(C::encode, record);
    EXPECT_EQ(body.size(), C::empty_size + 9);
    EXPECT_THAT(items_of(body), testing::Contains(Item{data.tag, std::string(9, '\0')}));
  }
}

TYPED_TEST(InfoEncoding, DataOver65535BytesIsCountedInFullAndWrittenWithItsLow16Bits) {
  using C = Codec<TypeParam>;
  const std::string value(65540, 'v');
  for (const auto& data : C::datas) {
    auto record = this->empty_record();
    record.*data.data = value.data();
    record.*data.length = 65540;
    Bytes body = encoded(C::encode, record);
    ASSERT_EQ(body.size(), C::empty_size + 65540);
    const auto rest = body.end() - 65536;
    EXPECT_TRUE(std::all_of(rest, body.end(), [](std::uint8_t byte) { return byte == 0; }));
    body.erase(rest, body.end());
    EXPECT_THAT(items_of(body), testing::Contains(Item{data.tag, "vvvv"}));
  }
}

TYPED_TEST(InfoEncoding, SizeAbove32BitsEndsAsAnAllocationFailure) {
  using C = Codec<TypeParam>;
  auto record = this->empty_record();
  record.tail_len = std::numeric_limits<std::uint32_t>::max();
  void* body = nullptr;
  EXPECT_EQ(C::encode(&record, &body), 0U);
  EXPECT_EQ(body, nullptr);
  EXPECT_EQ(this->counts_.allocated(), 0U);
}

TYPED_TEST(InfoEncoding, BlockFunctionsIgnoreNull) {
  using C = Codec<TypeParam>;
  auto record = this->empty_record();
  Bytes block(C::block_size, 0xEE);
  C::encode_block(block.data(), nullptr);
  C::encode_block(nullptr, &record);
  C::decode_block(nullptr, block.data());
  C::decode_block(&record, nullptr);
  EXPECT_EQ(block, Bytes(C::block_size, 0xEE));
  const auto untouched = this->empty_record();
  EXPECT_EQ(std::memcmp(&record, &untouched, sizeof record), 0);
}

TYPED_TEST(InfoEncoding, BlockEncoderClearsWhatItDoesNotFill) {
  using C = Codec<TypeParam>;
  const auto record = this->empty_record();
  Bytes block(C::block_size, 0xEE);
  C::encode_block(block.data(), &record);
  EXPECT_EQ(block, Bytes(C::block_size));
}

}  // namespace
}  // namespace test
