// The synchronous exchange on the request socket.
#include "transport/exchange.h"

#include <sys/resource.h>

#include "session/state/locks.h"
#include "support/lock_check.h"
#include "transport/answering_peer.h"
#include "transport/pair_test.h"

namespace {

using test::message_bytes;
using test::ScriptedCalls;
using testing::ElementsAre;

class Exchange : public test::PairTest {
 protected:
  void SetUp() override {
    PairTest::SetUp();
    use_as_request_socket();
  }

  // The reply as bytes, or "none"; the reply is freed.
  static std::string exchange(std::uint32_t type = 3, const std::string& body = "ask") {
    aaa_ipc_header* const reply =
        aaalib_sr_ipc_msg(type, body.data(), static_cast<std::int32_t>(body.size()));
    if (reply == nullptr) return "none";
    const std::string bytes(reinterpret_cast<const char*>(reply), 16 + reply->length);
    aaa_free(0, "", reply);
    return bytes;
  }
  std::string fd_text() const { return std::to_string(pair_.own()); }

  test::LogCapture log_;
};

TEST_F(Exchange, ReturnsTheReply) {
  test::AnsweringPeer aaad(pair_, message_bytes(104, "reply"));
  EXPECT_EQ(message_bytes(104, "reply"), exchange());
}

TEST_F(Exchange, SendsOneRequestWithIdZero) {
  test::AnsweringPeer aaad(pair_, message_bytes(3, ""));
  exchange(9, "ask");
  EXPECT_EQ(message_bytes(9, "ask"), aaad.request());
}

TEST_F(Exchange, ARequestMayHaveNoBody) {
  test::AnsweringPeer aaad(pair_, message_bytes(3, "id"));
  aaa::Reply reply(aaalib_sr_ipc_msg(3, nullptr, 0));
  EXPECT_EQ(message_bytes(3, ""), aaad.request());
  EXPECT_TRUE(reply);
}

TEST_F(Exchange, BadArgumentsGiveNullWithoutALineOrAMessage) {
  const test::OpenGate gate;
  EXPECT_EQ(nullptr, aaalib_sr_ipc_msg(3, "x", -1));
  EXPECT_EQ(nullptr, aaalib_sr_ipc_msg(3, nullptr, 1));
  EXPECT_EQ(nullptr, aaalib_sr_ipc_msg(3, nullptr, -1));
  EXPECT_THAT(log_.lines(), testing::IsEmpty());
  EXPECT_EQ(0u, pair_.waiting_for_peer());
}

TEST_F(Exchange, WritesItsThreeLinesInOrder) {
  const test::OpenGate gate;
  test::AnsweringPeer aaad(pair_, message_bytes(104, "reply"));
  exchange(9, "ask");
  EXPECT_THAT(
      log_.messages(),
      ElementsAre(
          "clear 0 bytes data from sd buffer\r\n",
          ": send message(query method list existence) len(3) to " + fd_text() + "\n\r\r\n",
          ": aaa lib receive message from aaad type (mlist existed response), len(5).\r\n"));
}

TEST_F(Exchange, ItsLinesNameTheirFunctions) {
  const test::OpenGate gate;
  test::AnsweringPeer aaad(pair_, message_bytes(104, "reply"));
  exchange();
  const std::vector<test::LogLine> lines = log_.lines();
  ASSERT_EQ(3u, lines.size());
  EXPECT_EQ("aaalib_socket_buf_clear", lines[0].function());
  EXPECT_EQ("aaalib_send_ipc_msg_print", lines[1].function());
  EXPECT_EQ("aaalib_sr_ipc_msg", lines[2].function());
}

TEST_F(Exchange, ItsLinesNameTheProcess) {
  const test::OpenGate gate;
  std::strcpy(g_aaalib_process_name, "dot1x");
  test::AnsweringPeer aaad(pair_, message_bytes(27, ""));
  exchange();
  g_aaalib_process_name[0] = '\0';
  EXPECT_EQ(1u, log_.count("dot1x: aaa lib receive message from aaad type (Unknown msg), "
                           "len(0).\r\n"));
}

TEST_F(Exchange, AStaleReplyIsDrainedAndCounted) {
  const test::OpenGate gate;
  pair_.peer_writes(message_bytes(104, "late"));
  test::AnsweringPeer aaad(pair_, message_bytes(104, "right"));
  EXPECT_EQ(message_bytes(104, "right"), exchange());
  EXPECT_EQ(1u, log_.count("clear 20 bytes data from sd buffer\r\n"));
}

TEST_F(Exchange, TheNextMessageIsTheAnswerWhateverItsTypeAndMarker) {
  const std::string odd = message_bytes(0xABCD, "odd", 0);
  test::AnsweringPeer aaad(pair_, odd + message_bytes(104, "later"));
  EXPECT_EQ(odd, exchange());
}

TEST_F(Exchange, TheDrainReadsByteByByte) {
  std::vector<std::size_t> sizes;
  int all_flags = 0;
  const ScriptedCalls calls(
      {.send = [](int, const void*, std::size_t, int) { return test::fails(EIO); },
       .recv = [&](int, void*, std::size_t size, int flags) -> std::optional<ssize_t> {
         sizes.push_back(size);
         all_flags |= flags;
         return std::nullopt;
       }});
  pair_.peer_writes("abc");
  EXPECT_EQ("none", exchange());
  EXPECT_THAT(sizes, ElementsAre(1, 1, 1));
  EXPECT_EQ(0, all_flags);
}

TEST_F(Exchange, TheDrainDoesNotWait) {
  std::vector<int> timeouts;
  const ScriptedCalls calls(
      {.send = [](int, const void*, std::size_t, int) { return test::fails(EIO); },
       .poll = [&](int, int timeout_ms) { return timeouts.push_back(timeout_ms), 0; }});
  exchange();
  EXPECT_THAT(timeouts, ElementsAre(0));
}

TEST_F(Exchange, WithoutARequestSocketNothingIsDrainedAndTheSendFails) {
  const test::OpenGate gate;
  aaa::store(g_aaa_client_cb.sync_fd, -1);
  EXPECT_EQ("none", exchange());
  EXPECT_THAT(log_.messages(), ElementsAre("input sd err,sd: -1\r\n",
                                           ": send message(get session id) len(3) to -1\n\r\r\n",
                                           "Send ipc message failed, errno(22).\r\n"));
  EXPECT_EQ("aaalib_socket_buf_clear", log_.lines()[0].function());
  EXPECT_EQ("aaalib_sr_ipc_msg", log_.lines()[2].function());
}

TEST_F(Exchange, AFailedSendIsReportedAndNothingIsRead) {
  const test::OpenGate gate;
  const ScriptedCalls calls(
      {.send = [](int, const void*, std::size_t, int) { return test::fails(EPIPE); },
       .recv = [](int, void*, std::size_t, int) { return ADD_FAILURE(), test::fails(EIO); }});
  EXPECT_EQ("none", exchange());
  EXPECT_EQ(1u, log_.count("Send ipc message failed, errno(32).\r\n"));
  EXPECT_TRUE(test::is_free(aaa_lib_lock));
}

TEST_F(Exchange, WithoutMemoryForTheRequestTheSendFailsWith12) {
  const test::OpenGate gate;
  const ScriptedCalls calls({.malloc = [](std::size_t) { return nullptr; }});
  EXPECT_EQ("none", exchange());
  EXPECT_EQ(1u, log_.count("Send ipc message failed, errno(12).\r\n"));
}

TEST_F(Exchange, AMissingReplyGivesNullAndNoReceiveLine) {
  const test::OpenGate gate;
  test::AnsweringPeer aaad(pair_, "", test::AnsweringPeer::Then::close);
  EXPECT_EQ("none", exchange());
  EXPECT_EQ("Receive ipc message header failed, errno(32).\r\n", log_.messages().back());
  EXPECT_TRUE(test::is_free(aaa_lib_lock));
}

TEST_F(Exchange, ASilentPeerEndsItAfterTenSeconds) {
  const test::OpenGate gate;
  test::MovedClock clock;
  const ScriptedCalls calls({.recv = [&](int, void*, std::size_t, int) {
    clock.advance(2);
    return test::fails(EAGAIN);
  }});
  EXPECT_EQ("none", exchange());
  EXPECT_EQ("Receive ipc message header failed, errno(11).\r\n", log_.messages().back());
}

TEST_F(Exchange, TheReplyLeftByATimedOutOneIsDrainedByTheNext) {
  const test::OpenGate gate;
  test::MovedClock clock;
  {
    const ScriptedCalls calls({.recv = [&](int, void*, std::size_t, int) {
      clock.advance(10);
      return test::fails(EAGAIN);
    }});
    EXPECT_EQ("none", exchange());
  }
  EXPECT_EQ(message_bytes(3, "ask"), pair_.peer_reads(19));
  pair_.peer_writes(message_bytes(3, "late"));
  test::AnsweringPeer aaad(pair_, message_bytes(3, "right"));
  EXPECT_EQ(message_bytes(3, "right"), exchange());
  EXPECT_EQ(1u, log_.count("clear 20 bytes data from sd buffer\r\n"));
}

TEST_F(Exchange, WorksOnADescriptorAbove1023) {
  rlimit limit = {};
  ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
  rlimit raised = limit;
  raised.rlim_cur = std::max<rlim_t>(limit.rlim_cur, 2048);
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &raised));
  constexpr int high = 1500;
  ASSERT_EQ(high, dup2(pair_.own(), high));
  aaa::store(g_aaa_client_cb.sync_fd, high);
  pair_.peer_writes("stale");
  {
    test::AnsweringPeer aaad(pair_, message_bytes(3, "reply"));
    EXPECT_EQ(message_bytes(3, "reply"), exchange());
  }
  ::close(high);
  setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace
