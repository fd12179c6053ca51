// The exchange and other threads: its lock, a peer that is gone, the reply's words.
#include <thread>

#include "session/locks.h"
#include "support/lock_check.h"
#include "transport/answering_peer.h"
#include "transport/exchange.h"
#include "transport/link_loss.h"
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
    aaa::forget_link_loss();
  }
  void TearDown() override {
    aaa::forget_link_loss();
    PairTest::TearDown();
  }
};

TEST_F(ExchangeConcurrency, TheLibraryLockIsHeldUntilTheReplyIsRead) {
  std::thread client([] { EXPECT_TRUE(Reply(aaa::aaalib_sr_ipc_msg(3, nullptr, 0))); });
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
  EXPECT_TRUE(Reply(aaa::aaalib_sr_ipc_msg(3, nullptr, 0)));
}

TEST_F(ExchangeConcurrency, EveryCallerGetsTheReplyToItsOwnRequest) {
  constexpr int rounds = 50;
  const auto ask = [](std::uint32_t who) {
    for (int i = 0; i < rounds; ++i) {
      const Reply reply(aaa::aaalib_sr_ipc_msg(3, &who, sizeof who));
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

TEST_F(ExchangeConcurrency, WithALostPeerItEndsWhenTheLossIsTold) {
  pair_.close_peer();
  std::thread client([] { EXPECT_FALSE(Reply(aaa::aaalib_sr_ipc_msg(3, nullptr, 0))); });
  EXPECT_TRUE(test::eventually([] { return !test::is_free(aaa_lib_lock); }));
  const auto told = std::chrono::steady_clock::now();
  aaa::announce_link_loss();
  client.join();
  EXPECT_LT(std::chrono::steady_clock::now() - told, std::chrono::seconds(5));
}

TEST_F(ExchangeConcurrency, WithALostPeerItEndsAfterTenSecondsOtherwise) {
  const test::OpenGate gate;
  const test::LogCapture log;
  test::MovedClock clock;
  int reads = 0;
  const test::ScriptedCalls calls(
      {.recv = [&](int, void*, std::size_t, int) -> std::optional<ssize_t> {
        ++reads;
        clock.advance(1);
        return std::nullopt;
      }});
  pair_.close_peer();
  test::enter_second();
  EXPECT_FALSE(Reply(aaa::aaalib_sr_ipc_msg(3, nullptr, 0)));
  EXPECT_EQ(10, reads);
  EXPECT_EQ(1u, log.count("clear 0 bytes data from sd buffer\r\n"));
  EXPECT_EQ(1u, log.count("Send ipc message failed, errno(32).\r\n"));
}

TEST_F(ExchangeConcurrency, WordsOfAReplyThatIsTooShortReadAsZeros) {
  test::AnsweringPeer aaad(pair_, message_bytes(3, word_bytes(0x11223344) + "\x55\x66"));
  const Reply reply(aaa::aaalib_sr_ipc_msg(3, nullptr, 0));
  ASSERT_TRUE(reply);
  EXPECT_EQ(0x11223344u, reply.word(0));
  EXPECT_EQ(test::word_at(std::string("\x55\x66\0\0", 4), 0), reply.word(1));
  EXPECT_EQ(0u, reply.word(2));
  EXPECT_EQ(0u, reply.word(0xFFFFFFFF));
}

TEST_F(ExchangeConcurrency, TheFirstByteOfAnEmptyReplyIsZero) {
  test::AnsweringPeer aaad(pair_, message_bytes(3, ""));
  const Reply reply(aaa::aaalib_sr_ipc_msg(3, nullptr, 0));
  ASSERT_TRUE(reply);
  EXPECT_EQ(3u, reply.type());
  EXPECT_EQ(0u, reply.length());
  EXPECT_EQ(0u, reply.first_byte());
}

}  // namespace
