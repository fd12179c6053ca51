// Building a message in memory.
#include "support/library_test.h"
#include "support/scripted_calls.h"
#include "support/socket_pair.h"
#include "transport/message.h"

namespace {
using test::word_at;

class MessageBlock : public test::LibraryTest {
 protected:
  // The block as bytes; the block itself is freed.
  std::string build(std::uint32_t type, std::uint32_t id, const void* body, std::uint32_t length) {
    aaa_ipc_header* const block = aaa_init_msg(type, id, body, length, &total_);
    if (block == nullptr) return "none";
    const std::string bytes(reinterpret_cast<const char*>(block), total_);
    aaa_free(0, "", block);
    return bytes;
  }

  std::uint32_t total_ = 77;
};

TEST_F(MessageBlock, HasTheHeaderWordsInOrderAndTheBodyBehindThem) {
  const std::string bytes = build(103, 0xCAFE, "body", 4);
  ASSERT_EQ(20u, bytes.size());
  EXPECT_EQ(0x01010101u, word_at(bytes, 0));
  EXPECT_EQ(0xCAFEu, word_at(bytes, 4));
  EXPECT_EQ(103u, word_at(bytes, 8));
  EXPECT_EQ(4u, word_at(bytes, 12));
  EXPECT_EQ("body", bytes.substr(16));
}

TEST_F(MessageBlock, TellsItsTotalLength) {
  build(1, 0, "body", 4);
  EXPECT_EQ(20u, total_);
}

TEST_F(MessageBlock, OfANullBodyIsEmptyWhateverTheLengthSays) {
  const std::string bytes = build(5, 9, nullptr, 100);
  ASSERT_EQ(16u, bytes.size());
  EXPECT_EQ(0u, word_at(bytes, 12));
  EXPECT_EQ(16u, total_);
}

TEST_F(MessageBlock, OfAnEmptyBodyIsAHeader) {
  const std::string bytes = build(5, 9, "ignored", 0);
  ASSERT_EQ(16u, bytes.size());
  EXPECT_EQ(0u, word_at(bytes, 12));
}

TEST_F(MessageBlock, IsOneCountedBlock) {
  const std::uint32_t before = test::live_blocks();
  std::uint32_t total = 0;
  aaa_ipc_header* const block = aaa_init_msg(1, 0, "body", 4, &total);
  EXPECT_EQ(before + 1, test::live_blocks());
  aaa_free(0, "", block);
}

TEST_F(MessageBlock, IsNullWithoutMemoryAndTheTotalIsLeftAlone) {
  const test::ScriptedCalls calls({.malloc = [](std::size_t) { return nullptr; }});
  EXPECT_EQ("none", build(1, 0, "body", 4));
  EXPECT_EQ(77u, total_);
}

TEST_F(MessageBlock, IsNullForALengthThatNoBlockCanHave) {
  EXPECT_EQ("none", build(1, 0, "body", 0xFFFFFFFF));
  EXPECT_EQ("none", build(1, 0, "body", 0xFFFFFFF0));
  EXPECT_EQ("none", build(1, 0, "body", 0x80000000));
  EXPECT_EQ(77u, total_);
}

TEST_F(MessageBlock, FreeingNoneIsAllowed) {
  aaa::free_message(nullptr);
}

}  // namespace
