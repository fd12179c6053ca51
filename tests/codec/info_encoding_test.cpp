// Encoding, as it holds for all four info records.
#include <limits>
#include <string>

#include "codec/info_record_fixture.h"

namespace test {
namespace {

template <typename Record>
class InfoEncoding : public InfoRecord<Record> {
 protected:
  // The items of a record without texts and data, in which `value` tells the values by the tags.
  template <typename Value>
  static std::vector<Item> items_with(Value value) {
    std::vector<Item> items = {{1, zeros(Codec<Record>::block_size)}};
    for (const auto& descriptor : Codec<Record>::descriptors)
      items.push_back({descriptor.tag, value(descriptor.tag)});
    for (const auto tag : Codec<Record>::data_order)
      items.push_back({tag, ""});
    return items;
  }
};
TYPED_TEST_SUITE(InfoEncoding, InfoRecords);

TYPED_TEST(InfoEncoding, AnEmptyRecordIsTheFixedBlockAndEmptyItemsInTheirOrder) {
  const std::string body = this->encode();
  EXPECT_EQ(body.size(), Codec<TypeParam>::empty_size);
  EXPECT_EQ(items_of(body), this->items_with([](int) { return ""; }));
  EXPECT_EQ(this->counts_.blocks_allocated(), 1U);
}

TYPED_TEST(InfoEncoding, EveryDescriptorCarriesItsOwnValueAndGetsItsTag) {
  using C = Codec<TypeParam>;
  const auto value = [](int tag) { return "value of " + std::to_string(tag); };
  std::map<std::uint16_t, std::string> values;
  for (const auto& [tag, member] : C::descriptors) {
    this->record_.*member = item(values[tag] = value(tag));
    (this->record_.*member).type = 7;
  }
  EXPECT_EQ(items_of(this->encode()), this->items_with(value));
  for (const auto& [tag, member] : C::descriptors)
    EXPECT_EQ((this->record_.*member).type, tag);
}

TYPED_TEST(InfoEncoding, EveryDataCarriesItsOwnValue) {
  using C = Codec<TypeParam>;
  std::vector<Item> expected;
  for (const auto& data : C::datas)
    expected.push_back({data.tag, "value of " + std::to_string(data.tag)});
  for (std::size_t i = 0; i < expected.size(); i++) {
    this->record_.*C::datas[i].data = expected[i].second.data();
    this->record_.*C::datas[i].length = static_cast<std::uint32_t>(expected[i].second.size());
  }
  const std::string body = this->encode();
  EXPECT_EQ(body.size(), C::empty_size + 12 * expected.size());
  EXPECT_THAT(items_of(body), testing::IsSupersetOf(expected));
}

TYPED_TEST(InfoEncoding, ALengthWithoutAValueIsWrittenAsZeros) {
  using C = Codec<TypeParam>;
  for (const auto& data : C::datas) {
    auto record = this->empty_record();
    record.*data.length = 9;
    const std::string body = encoded_body(C::encode, record);
    EXPECT_EQ(body.size(), C::empty_size + 9);
    EXPECT_THAT(items_of(body), testing::Contains(Item{data.tag, zeros(9)}));
  }
  this->record_.user_password.len = 5;
  const std::string body = this->encode();
  EXPECT_EQ(body.size(), C::empty_size + 5);
  EXPECT_THAT(items_of(body), testing::Contains(Item{2, zeros(5)}));
}

TYPED_TEST(InfoEncoding, DataOver65535BytesIsCountedInFullAndWrittenWithItsLow16Bits) {
  using C = Codec<TypeParam>;
  const std::string value(65540, 'v');
  for (const auto& data : C::datas) {
    auto record = this->empty_record();
    record.*data.data = value.data();
    record.*data.length = 65540;
    std::string body = encoded_body(C::encode, record);
    ASSERT_EQ(body.size(), C::empty_size + 65540);
    EXPECT_EQ(body.substr(body.size() - 65536, 65536), zeros(65536));
    body.resize(body.size() - 65536);
    EXPECT_THAT(items_of(body), testing::Contains(Item{data.tag, "vvvv"}));
  }
}

TYPED_TEST(InfoEncoding, NullAndASizeAbove32BitsGive0AndAllocateNothing) {
  using C = Codec<TypeParam>;
  void* body = &this->record_;
  EXPECT_EQ(C::encode(nullptr, &body), 0U);
  EXPECT_EQ(C::encode(&this->record_, nullptr), 0U);
  this->record_.tail_len = std::numeric_limits<std::uint32_t>::max();
  EXPECT_EQ(C::encode(&this->record_, &body), 0U);
  EXPECT_EQ(body, &this->record_) << "the place for the body is left as it was";
  EXPECT_EQ(this->counts_.blocks_allocated(), 0U);
}

TYPED_TEST(InfoEncoding, BlockFunctionsIgnoreNull) {
  using C = Codec<TypeParam>;
  std::string block(C::block_size, '\xEE');
  C::encode_block(block.data(), nullptr);
  C::encode_block(nullptr, &this->record_);
  C::decode_block(nullptr, block.data());
  C::decode_block(&this->record_, nullptr);
  EXPECT_EQ(block, std::string(C::block_size, '\xEE'));
  const auto untouched = this->empty_record();
  EXPECT_EQ(std::memcmp(&this->record_, &untouched, sizeof untouched), 0);
}

}  // namespace
}  // namespace test
