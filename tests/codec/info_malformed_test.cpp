// Bodies that are not well-formed, as all four info records take them.
#include <limits>
#include <string>

#include "codec/info_record_fixture.h"
#include "support/own_stack.h"

namespace test {
namespace {

template <typename Record>
class InfoMalformed : public InfoRecord<Record> {};
TYPED_TEST_SUITE(InfoMalformed, InfoRecords);

TYPED_TEST(InfoMalformed, DecoderRefusesNullArguments) {
  using C = Codec<TypeParam>;
  const Bytes body = body_of<TypeParam>().body();
  TypeParam* record = nullptr;
  EXPECT_EQ(C::decode(nullptr, body.data(), static_cast<std::int32_t>(body.size())), 0U);
  EXPECT_EQ(C::decode(&record, nullptr, static_cast<std::int32_t>(body.size())), 0U);
  EXPECT_EQ(record, nullptr);
}

TYPED_TEST(InfoMalformed, BodyShorterThanTheFixedBlockIsRejectedWithoutAllocation) {
  const Bytes body(Codec<TypeParam>::block_size - 1);
  const Decoded<TypeParam> record(body);
  EXPECT_EQ(record.result(), 0U);
  EXPECT_EQ(record.get(), nullptr);
  EXPECT_EQ(this->counts_.allocated(), 0U);
}

TYPED_TEST(InfoMalformed, FixedBlockOfAnotherLengthIsSkipped) {
  constexpr std::uint32_t size = Codec<TypeParam>::block_size;
  for (const std::uint32_t length : {size - 4, size + 1}) {
    const Bytes body =
        BodyBuilder().item(1, std::string(length, '\x11')).item(2, "password").zeros(4).body();
    const Decoded<TypeParam> record(body);
    ASSERT_EQ(record.result(), 1U);
    Bytes block(size);
    Codec<TypeParam>::encode_block(block.data(), record.get());
    EXPECT_EQ(block, Bytes(size));
    EXPECT_EQ(text(record->user_password), "password");
  }
}

TYPED_TEST(InfoMalformed, FixedBlockCutByTheBodysEndIsFilledUpWithZeros) {
  constexpr std::uint32_t size = Codec<TypeParam>::block_size;
  const Bytes body = BodyBuilder().header(1, size).bytes(std::string(size - 4, '\1')).body();
  ASSERT_EQ(body.size(), size);
  const Decoded<TypeParam> record(body);
  ASSERT_EQ(record.result(), 1U);
  Bytes block(size);
  Codec<TypeParam>::encode_block(block.data(), record.get());
  EXPECT_EQ(word32(block, 0), 0x01010101U);
  EXPECT_EQ(word32(block, size - 4), 0U);
}

TYPED_TEST(InfoMalformed, FixedBlockCutByTheBodysEndIsNotLeftOnTheStack) {
  using C = Codec<TypeParam>;
  constexpr std::uint32_t size = C::block_size;
  OwnStack stack;
  // The first call may leave registers on the stack while the dynamic linker looks for functions.
  for (const char character : {'o', 's'}) {
    const Bytes body = BodyBuilder().header(1, size).bytes(std::string(size - 4, character)).body();
    TypeParam* record = nullptr;
    std::uint32_t result = 0;
    stack.run([&] { result = C::decode(&record, body.data(), size); });
    EXPECT_EQ(result, 1U);
    C::release(record);
  }
  // ThreadSanitizer's own memcpy() leaves 8 bytes of a register.
  EXPECT_FALSE(stack.holds(std::string(32, 's')));
}

TYPED_TEST(InfoMalformed, BodyWhoseFirstItemIsNotTheFixedBlockStillDecodes) {
  const Bytes body = BodyBuilder()
                         .item(2, "password")
                         .item(299, std::string(Codec<TypeParam>::block_size, 't'))
                         .body();
  const Decoded<TypeParam> record(body);
  ASSERT_EQ(record.result(), 1U);
  EXPECT_EQ(text(record->user_password), "password");
}

TYPED_TEST(InfoMalformed, NegativeLengthGivesAnEmptyRecord) {
  const Bytes body = body_of<TypeParam>().item(2, "password").body();
  for (const std::int32_t length : {-1, std::numeric_limits<std::int32_t>::min()}) {
    const Decoded<TypeParam> record(body, length);
    ASSERT_EQ(record.result(), 1U);
    EXPECT_EQ(record->arena.size, Codec<TypeParam>::arena_order.size());
    const void* base = record->arena.base;
    record->arena = {};
    const auto empty = this->empty_record();
    EXPECT_EQ(std::memcmp(record.get(), &empty, sizeof empty), 0);
    record->arena.base = const_cast<void*>(base);
  }
}

TYPED_TEST(InfoMalformed, DescriptorThatRunsPastTheBodysEndKeepsItsLengthAndGetsZeros) {
  const Bytes body = body_of<TypeParam>().header(2, 60000).bytes("abc").body();
  const Decoded<TypeParam> record(body);
  ASSERT_EQ(record.result(), 1U);
  EXPECT_EQ(record->arena.size, 60000 + Codec<TypeParam>::arena_order.size());
  EXPECT_EQ(text(record->user_password), "abc" + std::string(59997, '\0'));
}

TYPED_TEST(InfoMalformed, DataThatRunsPastTheBodysEndKeepsItsLengthAndGetsZeros) {
  for (const auto& data : Codec<TypeParam>::datas) {
    const Bytes body = body_of<TypeParam>().header(data.tag, 500).bytes("abc").body();
    const Decoded<TypeParam> record(body);
    EXPECT_EQ((*record).*data.length, 500U);
    EXPECT_EQ(text((*record).*data.data, 501), "abc" + std::string(498, '\0'));
  }
}

TYPED_TEST(InfoMalformed, HeaderThatTheBodysEndCutsIsFilledUpWithZeros) {
  for (std::size_t there = 1; there < 4; there++) {
    Bytes body = body_of<TypeParam>().item(2, "password").header(2, 0x0303).body();
    body.resize(body.size() - 4 + there);
    const Decoded<TypeParam> record(body);
    ASSERT_EQ(record.result(), 1U);
    const std::string expected = there < 3 ? "(null)" : std::string(3, '\0');
    EXPECT_EQ(text(record->user_password), expected) << there;
  }
}

TYPED_TEST(InfoMalformed, HeaderAtTheBodysEndHasAnEmptyValue) {
  const Bytes body = body_of<TypeParam>().item(2, "password").header(2, 4).body();
  const Decoded<TypeParam> record(body);
  EXPECT_EQ(text(record->user_password), std::string(4, '\0'));
}

TYPED_TEST(InfoMalformed, ReleaseIgnoresNull) {
  Codec<TypeParam>::release(nullptr);
  EXPECT_EQ(this->counts_.freed(), 0U);
}

}  // namespace
}  // namespace test
