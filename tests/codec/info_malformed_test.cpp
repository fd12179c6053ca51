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

  static Bytes block_of(const Record& record) {
    Bytes block(kBlockSize);
    Codec<Record>::encode_block(block.data(), &record);
    return block;
  }
  // A body that ends 4 bytes before its fixed block does, and is as long as that.
  static Bytes cut_block(char character) {
    return BodyBuilder().header(1, kBlockSize).bytes(std::string(kBlockSize - 4, character)).body();
  }
};
TYPED_TEST_SUITE(InfoMalformed, InfoRecords);

TYPED_TEST(InfoMalformed, NullArgumentsAreRefused) {
  using C = Codec<TypeParam>;
  const Bytes body = body_of<TypeParam>().body();
  TypeParam* record = nullptr;
  EXPECT_EQ(C::decode(nullptr, body.data(), static_cast<std::int32_t>(body.size())), 0U);
  EXPECT_EQ(C::decode(&record, nullptr, static_cast<std::int32_t>(body.size())), 0U);
  EXPECT_EQ(record, nullptr);
  C::release(nullptr);
  EXPECT_EQ(this->counts_.freed(), 0U);
}

TYPED_TEST(InfoMalformed, BodyShorterThanTheFixedBlockIsRejectedWithoutAllocation) {
  const Decoded<TypeParam> record(Bytes(this->kBlockSize - 1));
  EXPECT_EQ(record.result(), 0U);
  EXPECT_EQ(record.get(), nullptr);
  EXPECT_EQ(this->counts_.allocated(), 0U);
}

TYPED_TEST(InfoMalformed, FixedBlockOfAnotherLengthIsSkipped) {
  for (const std::uint32_t length : {this->kBlockSize - 4, this->kBlockSize + 1}) {
    const auto block = BodyBuilder().item(1, std::string(length, '\x11'));
    const Decoded<TypeParam> record(BodyBuilder(block).item(2, "password").zeros(4).body());
    ASSERT_EQ(record.result(), 1U);
    EXPECT_EQ(this->block_of(*record), Bytes(this->kBlockSize));
    EXPECT_EQ(text(record->user_password), "password");
  }
}

TYPED_TEST(InfoMalformed, BodyOfOneShorterFixedBlockLeavesTheFieldsZero) {
  const Decoded<TypeParam> record(
      BodyBuilder().item(1, std::string(this->kBlockSize - 4, 'x')).body());
  ASSERT_EQ(record.result(), 1U);
  EXPECT_EQ(this->block_of(*record), Bytes(this->kBlockSize));
  EXPECT_EQ(record->arena.size, Codec<TypeParam>::arena_order.size());
}

TYPED_TEST(InfoMalformed, FixedBlockCutByTheBodysEndIsFilledUpWithZeros) {
  const Bytes body = this->cut_block('\1');
  ASSERT_EQ(body.size(), this->kBlockSize);
  const Decoded<TypeParam> record(body);
  ASSERT_EQ(record.result(), 1U);
  const Bytes block = this->block_of(*record);
  EXPECT_EQ(word32(block, 0), 0x01010101U);
  EXPECT_EQ(word32(block, this->kBlockSize - 4), 0U);
}

TYPED_TEST(InfoMalformed, FixedBlockCutByTheBodysEndIsNotLeftOnTheStack) {
  using C = Codec<TypeParam>;
  OwnStack stack;
  // The first call may leave registers on the stack while the dynamic linker looks for functions.
  for (const char character : {'o', 's'}) {
    const Bytes body = this->cut_block(character);
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
  EXPECT_EQ(this->password_in(
                BodyBuilder().item(2, "password").item(299, std::string(this->kBlockSize, 't'))),
            "password");
}

TYPED_TEST(InfoMalformed, NegativeLengthGivesAnEmptyRecord) {
  const Bytes body = body_of<TypeParam>().item(2, "password").body();
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
  const Decoded<TypeParam> value(body_of<TypeParam>().header(2, 60000).bytes("abc").body());
  ASSERT_EQ(value.result(), 1U);
  EXPECT_EQ(value->arena.size, 60000 + C::arena_order.size());
  EXPECT_EQ(text(value->user_password), "abc" + std::string(59997, '\0'));
  for (const auto& data : C::datas) {
    const Decoded<TypeParam> record(body_of<TypeParam>().header(data.tag, 500).bytes("abc").body());
    EXPECT_EQ((*record).*data.length, 500U);
    EXPECT_EQ(text((*record).*data.data, 501), "abc" + std::string(498, '\0'));
  }
}

TYPED_TEST(InfoMalformed, HeaderThatTheBodysEndCutsIsFilledUpWithZeros) {
  for (std::size_t there = 1; there <= 4; there++) {
    Bytes body = body_of<TypeParam>().item(2, "password").header(2, 0x0303).body();
    body.resize(body.size() - 4 + there);
    const Decoded<TypeParam> record(body);
    ASSERT_EQ(record.result(), 1U);
    const std::size_t length = there < 3 ? 0 : there == 3 ? 3 : 0x0303;
    EXPECT_EQ(text(record->user_password), length == 0 ? "(null)" : std::string(length, '\0'))
        << there;
  }
}

}  // namespace
}  // namespace test
