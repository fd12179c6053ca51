// Whole messages on a socket.
#include "transport/message.h"

#include <thread>

#include "session/state/locks.h"
#include "support/lock_check.h"
#include "transport/base/memory.h"
#include "transport/exchange.h"
#include "transport/pair_test.h"

namespace {

using test::message_bytes;
using test::ScriptedCalls;
using test::word_at;
using test::word_bytes;

class Framing : public test::PairTest {
 protected:
  std::string fd_text() const { return std::to_string(pair_.own()); }

  // The whole block that a receiver returns, or "none"; the block is freed.
  static std::string taken(aaa_ipc_header* message) {
    if (message == nullptr) return "none";
    const std::string bytes(reinterpret_cast<const char*>(message), 16 + message->length);
    aaa_free(0, "", message);
    return bytes;
  }
  std::string receive() { return taken(aaa_recv_ipc_msg_from_sd(pair_.own())); }
  std::string receive_logged() { return taken(aaa::aaalib_recv_ipc_msg_from_sd(pair_.own())); }

  test::LogCapture log_;
};

TEST_F(Framing, ASentMessageHasIdZeroItsTypeAndItsBody) {
  ASSERT_EQ(0, aaa_send_ipc_msg(pair_.own(), 132, "abc", 3));
  const std::string bytes = pair_.peer_reads(19);
  ASSERT_EQ(19u, bytes.size());
  EXPECT_EQ(0x01010101u, word_at(bytes, 0));
  EXPECT_EQ(0u, word_at(bytes, 4));
  EXPECT_EQ(132u, word_at(bytes, 8));
  EXPECT_EQ(3u, word_at(bytes, 12));
  EXPECT_EQ("abc", bytes.substr(16));
  EXPECT_EQ(0u, pair_.waiting_for_peer());
}

TEST_F(Framing, AMessageWithoutBodyIsAHeader) {
  ASSERT_EQ(0, aaa_send_ipc_msg(pair_.own(), 132, nullptr, 0));
  EXPECT_EQ(16u, pair_.waiting_for_peer());
}

TEST_F(Framing, HeaderAndBodyAreHandedToOneCallWithWaitAll) {
  std::vector<std::size_t> sizes;
  int all_flags = 0;
  const ScriptedCalls calls({.send = [&](int, const void*, std::size_t size, int flags) {
    sizes.push_back(size);
    all_flags |= flags;
    return static_cast<ssize_t>(size);
  }});
  ASSERT_EQ(0, aaa_send_ipc_msg(pair_.own(), 5, "abc", 3));
  EXPECT_THAT(sizes, testing::ElementsAre(19));
  EXPECT_EQ(0x100, all_flags & 0x100);
}

TEST_F(Framing, SendingAllocatesOneBlockAndFreesIt) {
  const std::uint32_t taken_before = g_aaa_malloc_times;
  const std::uint32_t live_before = test::live_blocks();
  ASSERT_EQ(0, aaa_send_ipc_msg(pair_.own(), 5, "abc", 3));
  EXPECT_EQ(taken_before + 1, g_aaa_malloc_times);
  EXPECT_EQ(live_before, test::live_blocks());
}

TEST_F(Framing, SendingWithoutMemoryGives12AndSendsNothing) {
  const ScriptedCalls calls({.malloc = [](std::size_t) { return nullptr; }});
  EXPECT_EQ(12, aaa_send_ipc_msg(pair_.own(), 5, "abc", 3));
  EXPECT_EQ(0u, pair_.waiting_for_peer());
}

TEST_F(Framing, TheResultOfTheSendIsReturnedAndTheBlockFreed) {
  EXPECT_EQ(22, aaa_send_ipc_msg(-1, 5, "abc", 3));
  pair_.close_peer();
  EXPECT_EQ(32, aaa_send_ipc_msg(pair_.own(), 5, "abc", 3));
}

TEST_F(Framing, ALoggedSendTellsProcessTypeLengthAndDescriptor) {
  const test::OpenGate gate;
  ASSERT_EQ(0, aaalib_send_ipc_msg_print(pair_.own(), 132, "abc", 3));
  const test::LogLine line =
      log_.find(": send message(heartbeat) len(3) to " + fd_text() + "\n\r\r\n");
  EXPECT_EQ("[%5d][%14.14s][%30.30s] %s: send message(%s) len(%d) to %d\n\r\r\n", line.format);
  EXPECT_EQ("aaalib_send_ipc_msg_print", line.function());
  EXPECT_EQ(19u, pair_.waiting_for_peer());
}

TEST_F(Framing, ALoggedSendNamesTheProcessWhenTheClientHasFilledTheName) {
  const test::OpenGate gate;
  std::strcpy(g_aaalib_process_name, "dot1x");
  aaalib_send_ipc_msg_print(-1, 27, nullptr, 0);
  g_aaalib_process_name[0] = '\0';
  EXPECT_EQ(1u, log_.count("dot1x: send message(Unknown msg) len(0) to -1\n\r\r\n"));
}

TEST_F(Framing, ALoggedSendReturnsTheErrorOfTheSend) {
  EXPECT_EQ(22, aaalib_send_ipc_msg_print(-1, 5, "abc", 3));
}

TEST_F(Framing, AReceivedMessageIsOneBlockOfHeaderAndBody) {
  const std::string message =
      word_bytes(0x01010101) + word_bytes(7) + word_bytes(103) + word_bytes(4) + "body";
  pair_.peer_writes(message + "rest");
  EXPECT_EQ(message, receive());
  EXPECT_EQ(4u, pair_.waiting_for_library());
}

TEST_F(Framing, AnEmptyMessageIsReceivedWithoutReadingABody) {
  pair_.peer_writes(message_bytes(101, "") + "rest");
  EXPECT_EQ(message_bytes(101, ""), receive());
  EXPECT_EQ(4u, pair_.waiting_for_library());
}

TEST_F(Framing, AnyMarkerIsAcceptedAndKept) {
  pair_.peer_writes(message_bytes(101, "a", 0));
  EXPECT_EQ(message_bytes(101, "a", 0), receive());
  pair_.peer_writes(message_bytes(101, "a", 0xFFFFFFFF));
  EXPECT_EQ(message_bytes(101, "a", 0xFFFFFFFF), receive_logged());
}

TEST_F(Framing, AnyTypeIsAccepted) {
  pair_.peer_writes(message_bytes(0xFFFFFFFF, "a"));
  EXPECT_EQ(message_bytes(0xFFFFFFFF, "a"), receive_logged());
}

TEST_F(Framing, TheLoggingReceiverWritesNothingWhenAllIsWell) {
  const test::OpenGate gate;
  pair_.peer_writes(message_bytes(101, "abc"));
  EXPECT_EQ(message_bytes(101, "abc"), receive_logged());
  EXPECT_THAT(log_.lines(), testing::IsEmpty());
}

TEST_F(Framing, AFailedHeaderIsReported) {
  const test::OpenGate gate;
  pair_.peer_writes("only a part");
  pair_.close_peer();
  EXPECT_EQ("none", receive_logged());
  const test::LogLine line = log_.find("Receive ipc message header failed, errno(32).\r\n");
  EXPECT_EQ("aaalib_recv_ipc_msg_from_sd", line.function());
  EXPECT_EQ(1u, log_.lines().size());
}

TEST_F(Framing, ABadDescriptorIsAFailedHeader) {
  const test::OpenGate gate;
  EXPECT_EQ(nullptr, aaa::aaalib_recv_ipc_msg_from_sd(-1));
  EXPECT_EQ(1u, log_.count("Receive ipc message header failed, errno(22).\r\n"));
}

TEST_F(Framing, WithoutMemoryTheBodyStaysInTheSocket) {
  const test::OpenGate gate;
  const ScriptedCalls calls({.malloc = [](std::size_t) { return nullptr; }});
  pair_.peer_writes(message_bytes(101, "abc"));
  EXPECT_EQ("none", receive_logged());
  EXPECT_THAT(log_.messages(), testing::ElementsAre("Alloc memory failed.\r\n"));
  EXPECT_EQ("aaalib_recv_ipc_msg_from_sd", log_.lines().front().function());
  EXPECT_EQ(3u, pair_.waiting_for_library());
}

TEST_F(Framing, ALengthThatNoBlockCanHaveCountsAsNoMemory) {
  const test::OpenGate gate;
  pair_.peer_writes(word_bytes(0x01010101) + word_bytes(0) + word_bytes(5) +
                    word_bytes(0xFFFFFFFF) + "abc");
  EXPECT_EQ("none", receive_logged());
  EXPECT_EQ(1u, log_.count("Alloc memory failed.\r\n"));
  EXPECT_EQ(3u, pair_.waiting_for_library());
}

TEST_F(Framing, AFailedBodyIsReportedAndTheBlockFreed) {
  const test::OpenGate gate;
  pair_.peer_writes(message_bytes(101, "abcdef").substr(0, 19));
  pair_.close_peer();
  EXPECT_EQ("none", receive_logged());
  EXPECT_THAT(log_.messages(),
              testing::ElementsAre("Receive ipc message body failed, errno(32).\r\n"));
  EXPECT_EQ("aaalib_recv_ipc_msg_from_sd", log_.lines().front().function());
}

TEST_F(Framing, ThePlainReceiverWritesNoLines) {
  const test::OpenGate gate;
  EXPECT_EQ(nullptr, aaa_recv_ipc_msg_from_sd(-1));
  pair_.peer_writes(message_bytes(101, "abcdef").substr(0, 19));
  pair_.close_peer();
  EXPECT_EQ("none", receive());
  EXPECT_EQ("none", receive());
  EXPECT_THAT(log_.lines(), testing::IsEmpty());
}

TEST_F(Framing, AClosedGateKeepsEveryLineBack) {
  pair_.close_peer();
  EXPECT_EQ("none", receive_logged());
  aaalib_send_ipc_msg_print(pair_.own(), 5, "abc", 3);
  EXPECT_THAT(log_.lines(), testing::IsEmpty());
}

TEST_F(Framing, TheRequestAndEventSocketsAreReadByTheirFields) {
  use_as_request_socket();
  pair_.peer_writes(message_bytes(101, "request"));
  EXPECT_EQ(message_bytes(101, "request"), taken(aaalib_recv_ipc_msg()));
  EXPECT_EQ("none", taken(aaalib_recv_async_ipc_msg()));
  aaa::store(g_aaa_client_cb.sync_fd, -1);
  aaa::store(g_aaa_client_cb.async_fd, pair_.own());
  pair_.peer_writes(message_bytes(103, "event"));
  EXPECT_EQ("none", taken(aaalib_recv_ipc_msg()));
  EXPECT_EQ(message_bytes(103, "event"), taken(aaalib_recv_async_ipc_msg()));
}

// A frame whose 500 bytes of body are alike.
bool is_whole(const std::string& frame) {
  return frame.size() == 516 && word_at(frame, 0) == 0x01010101 &&
         frame.substr(16) == std::string(500, frame[16]);
}

// The marker of a frame must follow the frame before it, however short the writes were.
TEST_F(Framing, FramesOfSeveralThreadsNeverMix) {
  use_as_request_socket();
  constexpr int frames = 100;
  const ScriptedCalls calls({.send = [](int fd, const void* data, std::size_t size, int) {
    std::this_thread::yield();
    return ::sendto(fd, data, std::min<std::size_t>(size, 100), MSG_NOSIGNAL, nullptr, 0);
  }});
  const auto write_frames = [&](char letter) {
    const std::string body(500, letter);
    for (int i = 0; i < frames; ++i)
      aaa_send_ipc_msg(pair_.own(), 5, body.data(), 500);
  };
  std::thread first(write_frames, 'a');
  std::thread second(write_frames, 'b');
  int whole = 0;
  while (whole < 2 * frames && is_whole(pair_.peer_reads(516)))
    ++whole;
  EXPECT_EQ(2 * frames, whole);
  pair_.close_peer();
  first.join();
  second.join();
}

TEST_F(Framing, TheSocketLoopsTakeNoLock) {
  bool lock_was_free = false;
  const ScriptedCalls calls({.send = [&](int, const void*, std::size_t size, int) {
    lock_was_free = test::is_free(aaa::request_write_lock);
    return static_cast<ssize_t>(size);
  }});
  EXPECT_EQ(0, aaa_msg_send(pair_.own(), "x", 1, 0x100));
  EXPECT_TRUE(lock_was_free);
}

}  // namespace
