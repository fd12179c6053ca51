// Bodies that are not well-formed, as all four info records take them.
#include <limits>
#include <string>

#include "codec/info_record_fixture.h"
#include "support/own_stack.h"

namespace test {
namespace {

template <typename Record>
class InfoMalformed : public InfoRecord<Record> {
 protected:
  static constexpr std::uint32_t kBlockSize = Codec<Record>::block_size;

  // A body that ends 4 bytes before its fixed block does, and is as long as that.
  static std::string cut_block(char character) {
    return tlv_head(1, kBlockSize) + std::string(kBlockSize - 4, character);
  }
};
TYPED_TEST_SUITE(InfoMalformed, InfoRecords);

TYPED_TEST(InfoMalformed, NullArgumentsAreRefused) {
  using C = Codec<TypeParam>;
  const std::string body = body_of<TypeParam>();
  TypeParam* record = nullptr;
  EXPECT_EQ(C::decode(nullptr, body.data(), static_cast<std::int32_t>(body.size())), 0U);
  EXPECT_EQ(C::decode(&record, nullptr, static_cast<std::int32_t>(body.size())), 0U);
  EXPECT_EQ(record, nullptr);
  C::release(nullptr);
  EXPECT_EQ(this->counts_.blocks_freed(), 0U);
}

TYPED_TEST(InfoMalformed, BodyShorterThanTheFixedBlockIsRejectedWithoutAllocation) {
  const Decoded<TypeParam> record(zeros(this->kBlockSize - 1));
  EXPECT_EQ(record.result(), 0U);
  EXPECT_EQ(record.get(), nullptr);
  EXPECT_EQ(this->counts_.blocks_allocated(), 0U);
}

TYPED_TEST(InfoMalformed, FixedBlockOfAnotherLengthIsSkipped) {
  for (const std::uint32_t length : {this->kBlockSize - 4, this->kBlockSize + 1}) {
    const auto block = tlv(1, std::string(length, '\x11'));
    const Decoded<TypeParam> record(block + tlv(2, "password") + zeros(4));
    ASSERT_EQ(record.result(), 1U);
    EXPECT_EQ(this->block_of(*record), zeros(this->kBlockSize));
    EXPECT_EQ(text(record->user_password), "password");
  }
}

TYPED_TEST(InfoMalformed, BodyOfOneShorterFixedBlockLeavesTheFieldsZero) {
  const Decoded<TypeParam> record(tlv(1, std::string(this->kBlockSize - 4, 'x')));
  ASSERT_EQ(record.result(), 1U);
  EXPECT_EQ(this->block_of(*record), zeros(this->kBlockSize));
  EXPECT_EQ(record->arena.size, Codec<TypeParam>::arena_order.size());
}

TYPED_TEST(InfoMalformed, FixedBlockCutByTheBodysEndIsFilledUpWithZeros) {
  const std::string body = this->cut_block('\1');
  ASSERT_EQ(body.size(), this->kBlockSize);
  const Decoded<TypeParam> record(body);
  ASSERT_EQ(record.result(), 1U);
  const std::string block = this->block_of(*record);
  EXPECT_EQ(word_at(block, 0), 0x01010101U);
  EXPECT_EQ(word_at(block, this->kBlockSize - 4), 0U);
}

TYPED_TEST(InfoMalformed, FixedBlockCutByTheBodysEndIsNotLeftOnTheStack) {
  using C = Codec<TypeParam>;
  OwnStack stack;
  // The first call may leave registers on the stack while the dynamic linker looks for functions.
  for (const char character : {'o', 's'}) {
    const std::string body = this->cut_block(character);
    TypeParam* record = nullptr;
    std::uint32_t result = 0;
    stack.run([&] { result = C::decode(&record, body.data(), C::block_size); });
    EXPECT_EQ(result, 1U);
    C::release(record);
  }
  // ThreadSanitizer's own memcpy() leaves 8 bytes of a register.
  EXPECT_FALSE(stack.holds(std::string(32, 's')));
}

TYPED_TEST(InfoMalformed, BodyWhoseFirstItemIsNotTheFixedBlockStillDecodes) {
  EXPECT_EQ(this->password_in(tlv(2, "password") + tlv(299, std::string(this->kBlockSize, 't'))),
            "password");
}

TYPED_TEST(InfoMalformed, NegativeLengthGivesAnEmptyRecord) {
  const std::string body = body_of<TypeParam>() + tlv(2, "password");
  for (const std::int32_t length : {-1, std::numeric_limits<std::int32_t>::min()}) {
    const Decoded<TypeParam> record(body, length);
    ASSERT_EQ(record.result(), 1U);
    EXPECT_EQ(record->arena.size, Codec<TypeParam>::arena_order.size());
    TypeParam without_arena;
    std::memcpy(&without_arena, record.get(), sizeof without_arena);
    without_arena.arena = {};
    EXPECT_EQ(std::memcmp(&without_arena, &this->record_, sizeof without_arena), 0);
  }
}

TYPED_TEST(InfoMalformed, ItemsThatRunPastTheBodysEndKeepTheirLengthAndGetZeros) {
  using C = Codec<TypeParam>;
  const Decoded<TypeParam> value(body_of<TypeParam>() + tlv_head(2, 60000) + "abc");
  ASSERT_EQ(value.result(), 1U);
  EXPECT_EQ(value->arena.size, 60000 + C::arena_order.size());
  EXPECT_EQ(text(value->user_password), "abc" + zeros(59997));
  for (const auto& data : C::datas) {
    const Decoded<TypeParam> record(body_of<TypeParam>() + tlv_head(data.tag, 500) + "abc");
    EXPECT_EQ((*record).*data.length, 500U);
    EXPECT_EQ(text((*record).*data.data, 501), "abc" + zeros(498));
  }
}

TYPED_TEST(InfoMalformed, AValueAtTheBodysEndIsNotReadAsItems) {
  EXPECT_EQ(this->password_in(body_of<TypeParam>() + tlv(2, tlv(2, "in"))), tlv(2, "in"));
  EXPECT_EQ(this->password_in(body_of<TypeParam>() + tlv(4096, "") + tlv(2, tlv(2, "in"))),
            tlv(2, "in"));
}

TYPED_TEST(InfoMalformed, HeaderThatTheBodysEndCutsIsFilledUpWithZeros) {
  for (std::size_t there = 1; there <= 4; there++) {
    std::string body = body_of<TypeParam>() + tlv(2, "password") + tlv_head(2, 0x0303);
    body.resize(body.size() - 4 + there);
    const Decoded<TypeParam> record(body);
    ASSERT_EQ(record.result(), 1U);
    const std::size_t length = there < 3 ? 0 : there == 3 ? 3 : 0x0303;
    EXPECT_EQ(text(record->user_password), length == 0 ? "(null)" : zeros(length)) << there;
  }
}

}  // namespace
}  // namespace test
