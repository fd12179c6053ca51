// The drain before an exchange, and what cuts it: then nothing is sent and nothing is read.
#include <atomic>
#include <chrono>

#include "session/state/link.h"
#include "transport/exchange.h"
#include "transport/link_sockets.h"
#include "transport/pair_test.h"

namespace test::drain {

class Drain : public PairTest {
 protected:
  Drain() {
    use_as_request_socket();
    aaa_set_debug_switch(1);
  }

  static bool exchange_fails() { return !aaa::Reply(aaalib_sr_ipc_msg(3, "ask", 3)); }
  // The lines of a drain that was cut after so many bytes, with the error of the failed send.
  void expect_cut(int cleared, int error) {
    EXPECT_THAT(log_.messages(),
                ElementsAre("clear " + std::to_string(cleared) + " bytes data from sd buffer\r\n",
                            "Send ipc message failed, errno(" + std::to_string(error) + ").\r\n"));
    EXPECT_TRUE(is_free(aaa_lib_lock));
  }
};

TEST_F(Drain, ThatFindsThePeerGoneFailsTheExchangeAtOnce) {
  pair_.close_peer();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(exchange_fails());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8)) << "of 10";
  expect_cut(0, 32);
}

TEST_F(Drain, CountsWhatItThrewAwayBeforeThePeerWasGone) {
  pair_.peer_writes(message_bytes(104, "late"));
  pair_.close_peer();
  EXPECT_TRUE(exchange_fails());
  expect_cut(20, 32);
}

TEST_F(Drain, IsCutByAnErrorOfTheSocket) {
  int reads = 0;
  const ScriptedCalls calls(
      {.recv = [&](auto&&...) { return ++reads, fails(ECONNRESET); }, .poll = returning(1)});
  EXPECT_TRUE(exchange_fails());
  EXPECT_EQ(1, reads);
  expect_cut(0, 32);
}

TEST_F(Drain, IsCutByADescriptorThatIsNotOpen) {
  ::close(pair_.own());
  EXPECT_TRUE(exchange_fails());
  expect_cut(0, 32);
  // For the fixture to close.
  ASSERT_EQ(pair_.own(), dup2(STDERR_FILENO, pair_.own()));
}

TEST_F(Drain, GoesOnWhenACallIsInterruptedOrFindsNothing) {
  int polls = 0;
  int reads = 0;
  const auto poll = [&](auto&&...) { return ++polls < 3 ? fails(EINTR) : polls < 5 ? 1 : 0; };
  const auto recv = [&](auto&&...) { return fails(++reads % 2 == 0 ? EAGAIN : EINTR); };
  const ScriptedCalls calls({.send = failing(EIO), .recv = recv, .poll = poll});
  EXPECT_TRUE(exchange_fails());
  EXPECT_EQ(5, polls);
  EXPECT_EQ(4, reads);
}

TEST_F(Drain, WithoutAByteEndsWhenTheLossOfTheLinkIsAnnounced) {
  std::atomic<bool> drains = false;
  const auto recv = [&](auto&&...) { return drains = true, fails(EAGAIN); };
  const ScriptedCalls calls({.recv = recv, .poll = returning(1)});
  std::thread client([] { EXPECT_TRUE(exchange_fails()); });
  EXPECT_TRUE(eventually([&] { return drains.load(); }));
  aaa::announce_link_loss(aaa::link_number());
  client.join();
  expect_cut(0, 32);
}

TEST_F(Drain, IsNotCutByAnAnnouncedLossWhileBytesCome) {
  aaa::announce_link_loss(aaa::link_number());
  pair_.peer_writes("stale");
  const ScriptedCalls calls({.send = failing(EIO)});
  EXPECT_TRUE(exchange_fails());
  EXPECT_EQ(1u, log_.count("clear 5 bytes data from sd buffer\r\n"));
  EXPECT_EQ(1u, log_.count("Send ipc message failed, errno(5).\r\n"));
  aaa::end_link();
}

TEST_F(Drain, IsNotCutByTheLossOfAnEarlierLink) {
  aaa::announce_link_loss(aaa::link_number());
  aaa::end_link();
  int polls = 0;
  const ScriptedCalls calls({.send = failing(EIO), .recv = failing(EAGAIN), .poll = [&](auto&&...) {
                               return ++polls < 4 ? 1 : 0;
                             }});
  EXPECT_TRUE(exchange_fails());
  EXPECT_EQ(4, polls);
  EXPECT_EQ(1u, log_.count("Send ipc message failed, errno(5).\r\n"));
}

TEST_F(Drain, OfAPeerThatNeverStopsEndsAfterTenSeconds) {
  int bytes = 0;
  const auto recv = [&](auto&&...) { return ++bytes, clock_.advance(1), 1; };
  const auto poll = [&](auto&&...) { return bytes < 100 ? 1 : 0; };
  const ScriptedCalls calls({.recv = recv, .poll = poll});
  enter_second();
  EXPECT_TRUE(exchange_fails());
  EXPECT_EQ(10, bytes);
  expect_cut(10, 110);
}

TEST_F(Drain, OfASocketThatIsReadableAndGivesNothingEndsAfterTenSeconds) {
  int reads = 0;
  const auto recv = [&](auto&&...) {
    clock_.advance(1);
    return fails(++reads % 2 == 0 ? EAGAIN : EINTR);
  };
  const auto poll = [&](auto&&...) { return reads < 100 ? 1 : 0; };
  const ScriptedCalls calls({.recv = recv, .poll = poll});
  enter_second();
  EXPECT_TRUE(exchange_fails());
  EXPECT_EQ(10, reads);
  expect_cut(0, 110);
}

// With stale replies in the request socket, an exchange that went on would take one for its answer.
TEST_F(Drain, ThatIsCutNeverLetsAStaleReplyBeTheAnswer) {
  pair_.peer_writes(message_bytes(3, "stale") + message_bytes(3, "stale"));
  int bytes = 0;
  const ScriptedCalls calls({.send = unwanted(), .recv = noting([&] {
                                                   if (++bytes == 21) clock_.advance(10);
                                                 })});
  EXPECT_TRUE(exchange_fails());
  expect_cut(21, 110);
  EXPECT_EQ(0u, pair_.waiting_for_peer());
  EXPECT_EQ(21u, pair_.waiting_for_library());
}

}  // namespace test::drain
