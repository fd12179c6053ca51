// The synchronous exchange on the request socket: what is sent and read, its lines, its lock.
#include "transport/exchange.h"

#include <sys/resource.h>

#include "transport/link_sockets.h"
#include "transport/pair_test.h"

namespace test::exchange {

using aaa::Reply;

class Exchange : public PairTest {
 protected:
  Exchange() { use_as_request_socket(); }

  // The reply as bytes, or "none".
  static std::string exchange(std::uint32_t type = 3, const std::string& body = "ask") {
    return take_message(
        aaalib_sr_ipc_msg(type, body.data(), static_cast<std::int32_t>(body.size())));
  }
};

TEST_F(Exchange, SendsOneRequestWithIdZeroAndReturnsTheReply) {
  pair_.answers(message_bytes(104, "reply"));
  EXPECT_EQ(message_bytes(104, "reply"), exchange(9, "ask"));
  EXPECT_EQ(message_bytes(9, "ask"), pair_.request());
}

TEST_F(Exchange, ARequestMayHaveNoBody) {
  pair_.answers(message_bytes(3, "id"));
  EXPECT_TRUE(Reply(aaalib_sr_ipc_msg(3, nullptr, 0)));
  EXPECT_EQ(message_bytes(3), pair_.request());
}

TEST_F(Exchange, BadArgumentsGiveNullWithoutALineOrAMessage) {
  const OpenGate gate;
  EXPECT_EQ(nullptr, aaalib_sr_ipc_msg(3, "x", -1));
  EXPECT_EQ(nullptr, aaalib_sr_ipc_msg(3, nullptr, 1));
  EXPECT_EQ(nullptr, aaalib_sr_ipc_msg(3, nullptr, -1));
  EXPECT_THAT(log_.lines(), IsEmpty());
  EXPECT_EQ(0u, pair_.waiting_for_peer());
}

TEST_F(Exchange, WritesItsThreeLinesInOrder) {
  const OpenGate gate;
  pair_.answers(message_bytes(104, "reply"));
  exchange(9, "ask");
  EXPECT_THAT(
      log_.messages(),
      ElementsAre(
          "clear 0 bytes data from sd buffer\r\n",
          ": send message(query method list existence) len(3) to " + fd_text() + "\n\r\r\n",
          ": aaa lib receive message from aaad type (mlist existed response), len(5).\r\n"));
  EXPECT_THAT(log_.functions(), ElementsAre("aaalib_socket_buf_clear", "aaalib_send_ipc_msg_print",
                                            "aaalib_sr_ipc_msg"));
}

TEST_F(Exchange, ItsLinesNameTheProcess) {
  const OpenGate gate;
  std::strcpy(g_aaalib_process_name, "dot1x");
  pair_.answers(message_bytes(27));
  exchange();
  EXPECT_EQ(1u, log_.count("dot1x: aaa lib receive message from aaad type (Unknown msg), "
                           "len(0).\r\n"));
}

TEST_F(Exchange, AStaleReplyIsDrainedAndCounted) {
  const OpenGate gate;
  pair_.peer_writes(message_bytes(104, "late"));
  pair_.answers(message_bytes(104, "right"));
  EXPECT_EQ(message_bytes(104, "right"), exchange());
  EXPECT_EQ(1u, log_.count("clear 20 bytes data from sd buffer\r\n"));
}

TEST_F(Exchange, TheNextMessageIsTheAnswerWhateverItsTypeAndMarker) {
  const std::string odd = message_bytes(0xABCD, "odd", 0);
  pair_.answers(odd + message_bytes(104, "later"));
  EXPECT_EQ(odd, exchange());
}

TEST_F(Exchange, AnAnswerThatIsThereIsReadInOneCall) {
  int reads = 0;
  const ScriptedCalls calls({.recv = noting([&] { ++reads; })});
  pair_.answers(message_bytes(104, "reply"));
  EXPECT_EQ(message_bytes(104, "reply"), exchange());
  EXPECT_EQ(1, reads);
}

TEST_F(Exchange, AnAnswerOfAnyLengthIsReadToItsEndAndNoFurtherThanTheBufferReaches) {
  for (const std::size_t length : {495u, 496u, 497u, 512u, 600u, 70000u}) {
    const std::string answer = message_bytes(104, std::string(length, 'r'));
    pair_.answers(answer);
    EXPECT_EQ(answer, exchange()) << length;
    pair_.answers(message_bytes(104, "next"));
    EXPECT_EQ(message_bytes(104, "next"), exchange()) << length;
  }
}

TEST_F(Exchange, WhatCameBehindAnAnswerIsDrainedAndCountedWithWhatCameLater) {
  const OpenGate gate;
  pair_.answers(message_bytes(104, "right") + message_bytes(104, "behind"));
  EXPECT_EQ(message_bytes(104, "right"), exchange());
  pair_.request();
  pair_.peer_writes("later");
  pair_.answers(message_bytes(104, "next"));
  EXPECT_EQ(message_bytes(104, "next"), exchange());
  EXPECT_EQ(1u, log_.count("clear 27 bytes data from sd buffer\r\n"));
}

TEST_F(Exchange, WhatCameBehindAnAnswerIsTheNextMessageOfAClientThatReads) {
  pair_.answers(message_bytes(104, "right") + message_bytes(27, "behind").substr(0, 18));
  EXPECT_EQ(message_bytes(104, "right"), exchange());
  pair_.peer_writes(message_bytes(27, "behind").substr(18) + message_bytes(28));
  EXPECT_EQ(message_bytes(27, "behind"), take_message(aaalib_recv_ipc_msg()));
  EXPECT_EQ(16u, pair_.waiting_for_library());
}

TEST_F(Exchange, WhatCameBehindAnAnswerIsForgottenWithTheConnection) {
  const OpenGate gate;
  pair_.answers(message_bytes(104, "right") + message_bytes(104, "behind"));
  EXPECT_EQ(message_bytes(104, "right"), exchange());
  {
    const aaa::ScopedLock lock(aaa_lib_lock);
    aaa::record_socket(aaa::LinkSocket::request, pair_.own());
  }
  EXPECT_EQ(0, aaa_send_ipc_msg(pair_.own(), AAA_MSG_REGISTER_REQ, "1test", 6));
  EXPECT_EQ(22u, pair_.peer_reads_message().size()) << "or it would be the one that is answered";
  pair_.answers(message_bytes(104, "next"));
  EXPECT_EQ(message_bytes(104, "next"), exchange());
  EXPECT_EQ(2u, log_.count("clear 0 bytes data from sd buffer\r\n"));
}

TEST_F(Exchange, TheDrainReadsByteByByte) {
  std::vector<std::size_t> sizes;
  int all_flags = 0;
  const auto recv = [&](int, void*, std::size_t size, int flags) {
    sizes.push_back(size);
    all_flags |= flags;
    return std::nullopt;
  };
  const ScriptedCalls calls({.send = failing(EIO), .recv = recv});
  pair_.peer_writes("abc");
  EXPECT_EQ("none", exchange());
  EXPECT_THAT(sizes, ElementsAre(1, 1, 1));
  EXPECT_EQ(0, all_flags);
}

TEST_F(Exchange, TheDrainDoesNotWait) {
  std::vector<int> timeouts;
  const auto poll = [&](int, int timeout_ms) { return timeouts.push_back(timeout_ms), 0; };
  const ScriptedCalls calls({.send = failing(EIO), .poll = poll});
  exchange();
  EXPECT_THAT(timeouts, ElementsAre(0));
}

TEST_F(Exchange, WithoutARequestSocketNothingIsDrainedAndTheSendFails) {
  const OpenGate gate;
  aaa::store(g_aaa_client_cb.sync_fd, -1);
  EXPECT_EQ("none", exchange());
  EXPECT_THAT(log_.messages(), ElementsAre("input sd err,sd: -1\r\n",
                                           ": send message(get session id) len(3) to -1\n\r\r\n",
                                           "Send ipc message failed, errno(22).\r\n"));
  EXPECT_THAT(log_.functions(),
              ElementsAre("aaalib_socket_buf_clear", testing::_, "aaalib_sr_ipc_msg"));
}

TEST_F(Exchange, AFailedSendIsReportedAndNothingIsRead) {
  const OpenGate gate;
  const ScriptedCalls calls({.send = failing(EPIPE), .recv = unwanted()});
  EXPECT_EQ("none", exchange());
  EXPECT_EQ(1u, log_.count("Send ipc message failed, errno(32).\r\n"));
  EXPECT_TRUE(is_free(aaa_lib_lock));
}

TEST_F(Exchange, WithoutMemoryForTheRequestTheSendFailsWith12) {
  const OpenGate gate;
  const ScriptedCalls calls(no_memory());
  EXPECT_EQ("none", exchange());
  EXPECT_EQ(1u, log_.count("Send ipc message failed, errno(12).\r\n"));
}

TEST_F(Exchange, AMissingReplyGivesNullAndNoReceiveLine) {
  const OpenGate gate;
  std::thread peer([&] {
    pair_.peer_reads_message();
    ::shutdown(pair_.peer(), SHUT_RDWR);
  });
  EXPECT_EQ("none", exchange());
  peer.join();
  EXPECT_EQ("Receive ipc message header failed, errno(32).\r\n", log_.messages().back());
  EXPECT_TRUE(is_free(aaa_lib_lock));
}

TEST_F(Exchange, ASilentPeerEndsItAfterTenSecondsAndItsLateReplyIsDrainedByTheNext) {
  const OpenGate gate;
  {
    const auto recv = [&](auto&&...) { return clock_.advance(2), fails(EAGAIN); };
    const ScriptedCalls calls({.recv = recv});
    const std::uint32_t start = library_seconds();
    EXPECT_EQ("none", exchange());
    EXPECT_GE(library_seconds(), start + 10);
  }
  EXPECT_EQ("Receive ipc message header failed, errno(11).\r\n", log_.messages().back());
  EXPECT_EQ(message_bytes(3, "ask"), pair_.peer_reads(19));
  pair_.peer_writes(message_bytes(3, "late"));
  pair_.answers(message_bytes(3, "right"));
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
  pair_.answers(message_bytes(3, "reply"));
  EXPECT_EQ(message_bytes(3, "reply"), exchange());
  ::close(high);
  setrlimit(RLIMIT_NOFILE, &limit);
}

TEST_F(Exchange, TheLibraryLockIsHeldUntilTheReplyIsRead) {
  std::thread client([] { EXPECT_TRUE(Reply(aaalib_sr_ipc_msg(3, nullptr, 0))); });
  EXPECT_EQ(message_bytes(3), pair_.peer_reads_message());
  EXPECT_FALSE(is_free(aaa_lib_lock));
  pair_.peer_writes(message_bytes(3).substr(0, 10));
  EXPECT_FALSE(is_free(aaa_lib_lock));
  pair_.peer_writes(message_bytes(3).substr(10));
  client.join();
  EXPECT_TRUE(is_free(aaa_lib_lock));
}

TEST_F(Exchange, ACallerMayHoldTheLibraryLock) {
  pair_.answers(message_bytes(3));
  const aaa::ScopedLock lock(aaa_lib_lock);
  EXPECT_TRUE(Reply(aaalib_sr_ipc_msg(3, nullptr, 0)));
}

TEST_F(Exchange, EveryCallerGetsTheReplyToItsOwnRequest) {
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
    pair_.peer_writes(pair_.peer_reads_message());
  first.join();
  second.join();
}

TEST_F(Exchange, WordsOfAReplyThatIsTooShortReadAsZeros) {
  pair_.answers(message_bytes(3, word_bytes(0x11223344) + "\x55\x66"));
  const Reply reply(aaalib_sr_ipc_msg(3, nullptr, 0));
  ASSERT_TRUE(reply);
  EXPECT_EQ(0x11223344u, reply.word(0));
  EXPECT_EQ(word_at(std::string("\x55\x66\0\0", 4), 0), reply.word(1));
  EXPECT_EQ(0u, reply.word(2));
  EXPECT_EQ(0u, reply.word(0xFFFFFFFF));
}

TEST_F(Exchange, TheFirstByteOfAnEmptyReplyIsZero) {
  pair_.answers(message_bytes(3));
  const Reply reply(aaalib_sr_ipc_msg(3, nullptr, 0));
  ASSERT_TRUE(reply);
  EXPECT_EQ(3u, reply.type());
  EXPECT_EQ(0u, reply.length());
  EXPECT_EQ(0u, reply.first_byte());
}

}  // namespace test::exchange
