// What is wiped of a message before its block is freed: what was read, and no more than that.
#include <cstdlib>
#include <cstring>

#include "support/failing_allocator.h"
#include "transport/message.h"
#include "transport/pair_test.h"

namespace test::message_wiping {

constexpr std::uint32_t claimed = 4096;

// A message that claims 4096 bytes of body, in a block that was filled with 0xAA.
class MessageWiping : public PairTest {
 protected:
  MessageWiping() { pair_.peer_writes(word_bytes({0x01010101, 0, 103, claimed})); }

  aaa::ReadOutcome read(aaa::Message& message) {
    const ScriptedCalls calls({.malloc = [this](std::size_t size) -> std::optional<void*> {
      if (size < claimed) return std::nullopt;
      void* const block = std::aligned_alloc(16, claimed + 32);
      std::memset(block, 0xAA, claimed + 32);
      freed_.watch(block, claimed);
      block_ = block;
      return block;
    }});
    return aaa::read_message(pair_.own(), {aaa::MessageBlock::body, true, aaa::receive_exactly},
                             message);
  }

  FreedBlocks freed_;
  const void* block_ = nullptr;
};

TEST_F(MessageWiping, OfABodyThatEndsTooSoonIsThatOfWhatHasCome) {
  pair_.peer_writes("secret");
  pair_.close_peer();
  aaa::Message message;
  EXPECT_EQ(aaa::ReadStep::body, read(message).step);
  EXPECT_EQ(zeros(6) + std::string(claimed - 6, '\xAA'), freed_.bytes(block_));
}

TEST_F(MessageWiping, OfAWholeBodyIsThatOfEveryByte) {
  pair_.peer_writes(std::string(claimed, 's'));
  aaa::Message message;
  EXPECT_EQ(aaa::ReadStep::done, read(message).step);
  message.release();
  EXPECT_EQ(zeros(claimed), freed_.bytes(block_));
}

}  // namespace test::message_wiping
