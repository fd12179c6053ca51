// The exchange and other threads: its lock, the reply's words.
#include <thread>

#include "session/state/locks.h"
#include "support/lock_check.h"
#include "transport/answering_peer.h"
#include "transport/exchange.h"
#include "transport/pair_test.h"

namespace {

using aaa::Reply;
using test::message_bytes;
using test::word_bytes;

class ExchangeConcurrency : public test::PairTest {
 protected:
  void SetUp() override {
    PairTest::SetUp();
    use_as_request_socket();
  }
};

TEST_F(ExchangeConcurrency, TheLibraryLockIsHeldUntilTheReplyIsRead) {
  std::thread client([] { EXPECT_TRUE(Reply(aaalib_sr_ipc_msg(3, nullptr, 0))); });
  EXPECT_EQ(message_bytes(3, ""), test::AnsweringPeer::read_message(pair_));
  EXPECT_FALSE(test::is_free(aaa_lib_lock));
  pair_.peer_writes(message_bytes(3, "").substr(0, 10));
  EXPECT_FALSE(test::is_free(aaa_lib_lock));
  pair_.peer_writes(message_bytes(3, "").substr(10));
  client.join();
  EXPECT_TRUE(test::is_free(aaa_lib_lock));
}

TEST_F(ExchangeConcurrency, ACallerMayHoldTheLibraryLock) {
  test::AnsweringPeer aaad(pair_, message_bytes(3, ""));
  const aaa::ScopedLock lock(aaa_lib_lock);
  EXPECT_TRUE(Reply(aaalib_sr_ipc_msg(3, nullptr, 0)));
}

TEST_F(ExchangeConcurrency, EveryCallerGetsTheReplyToItsOwnRequest) {
  constexpr int rounds = 50;
  const auto ask = [](std::uint32_t who) {
    for (int i = 0; i < rounds; ++i) {
      const Reply reply(aaalib_sr_ipc_msg(3, &who, sizeof who));
      ASSERT_TRUE(reply);
      EXPECT_EQ(who, reply.word(0));
    }
  };
  std::thread first(ask, 1);
  std::thread second(ask, 2);
  for (int i = 0; i < 2 * rounds; ++i)
    pair_.peer_writes(test::AnsweringPeer::read_message(pair_));
  first.join();
  second.join();
}

TEST_F(ExchangeConcurrency, WordsOfAReplyThatIsTooShortReadAsZeros) {
  test::AnsweringPeer aaad(pair_, message_bytes(3, word_bytes(0x11223344) + "\x55\x66"));
  const Reply reply(aaalib_sr_ipc_msg(3, nullptr, 0));
  ASSERT_TRUE(reply);
  EXPECT_EQ(0x11223344u, reply.word(0));
  EXPECT_EQ(test::word_at(std::string("\x55\x66\0\0", 4), 0), reply.word(1));
  EXPECT_EQ(0u, reply.word(2));
  EXPECT_EQ(0u, reply.word(0xFFFFFFFF));
}

TEST_F(ExchangeConcurrency, TheFirstByteOfAnEmptyReplyIsZero) {
  test::AnsweringPeer aaad(pair_, message_bytes(3, ""));
  const Reply reply(aaalib_sr_ipc_msg(3, nullptr, 0));
  ASSERT_TRUE(reply);
  EXPECT_EQ(3u, reply.type());
  EXPECT_EQ(0u, reply.length());
  EXPECT_EQ(0u, reply.first_byte());
}

}  // namespace
