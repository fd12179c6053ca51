// Whole messages: built in memory, sent to a socket, received from one.
#include "transport/message.h"

#include "transport/base/memory.h"
#include "transport/exchange.h"
#include "transport/pair_test.h"

namespace test::message {

class MessageBlock : public LibraryTest {
 protected:
  // The block as bytes, or "none".
  std::string build(std::uint32_t type, std::uint32_t id, const void* body, std::uint32_t length) {
    aaa_ipc_header* const block = aaa_init_msg(type, id, body, length, &total_);
    return block == nullptr ? "none" : take_block(block, total_);
  }

  std::uint32_t total_ = 77;
};

TEST_F(MessageBlock, HasTheHeaderWordsInOrderAndTheBodyBehindThem) {
  EXPECT_EQ(hex("01010101 feca0000 67000000 04000000") + "body", build(103, 0xCAFE, "body", 4));
  EXPECT_EQ(20u, total_);
}

TEST_F(MessageBlock, OfANullOrEmptyBodyIsAHeaderWhateverTheLengthSays) {
  for (const auto& [body, length] :
       {std::pair<const char*, std::uint32_t>{nullptr, 100}, {"x", 0}}) {
    EXPECT_EQ(word_bytes({0x01010101, 9, 5, 0}), build(5, 9, body, length));
    EXPECT_EQ(16u, total_);
  }
}

TEST_F(MessageBlock, IsNullWithoutMemoryAndTheTotalIsLeftAlone) {
  for (const std::uint32_t length : {0xFFFFFFFFu, 0xFFFFFFF0u, 0x80000000u})
    EXPECT_EQ("none", build(1, 0, "body", length));
  const ScriptedCalls calls(no_memory());
  EXPECT_EQ("none", build(1, 0, "body", 4));
  EXPECT_EQ(77u, total_);
}

TEST_F(MessageBlock, IsBuiltWithoutTellingItsLengthToo) {
  aaa_ipc_header* const message = aaa_init_msg(103, 7, "body", 4, nullptr);
  ASSERT_NE(nullptr, message);
  EXPECT_EQ(std::string("\x01\x01\x01\x01\x07\0\0\0\x67\0\0\0\x04\0\0\0body", 20),
            take_block(message, 20));
}

TEST_F(MessageBlock, FreeingNoneIsAllowed) {
  aaa::free_message(nullptr);
}

// Messages that the library hands out are the caller's, who releases each with one aaa_free().
class HandedOutBlocks : public PairTest {
 protected:
  // Expects one block more than before, and none once it is released. What the call itself has
  // used must be back with it.
  static void expect_one_block(const std::function<aaa_ipc_header*()>& call) {
    const LibraryCounters counters;
    aaa_ipc_header* const message = call();
    ASSERT_NE(nullptr, message);
    EXPECT_EQ(counters.blocks_freed() + 1, counters.blocks_allocated());
    aaa_free(0, "", message);
    EXPECT_EQ(counters.blocks_freed(), counters.blocks_allocated());
  }
};

TEST_F(HandedOutBlocks, OfABuiltMessage) {
  std::uint32_t length = 0;
  expect_one_block([&] { return aaa_init_msg(5, 0, "abc", 3, &length); });
  EXPECT_EQ(19u, length);
}

TEST_F(HandedOutBlocks, OfAReceivedMessageAndOfTheReplyOfAnExchange) {
  pair_.peer_writes(message_bytes(101, "abc") + message_bytes(101, "abc"));
  expect_one_block([&] { return aaa_recv_ipc_msg_from_sd(pair_.own()); });
  use_as_event_socket();
  expect_one_block(aaalib_recv_async_ipc_msg);
  aaa::store(g_aaa_client_cb.async_fd, -1);
  use_as_request_socket();
  pair_.peer_writes(message_bytes(101, "abc"));
  expect_one_block(aaalib_recv_ipc_msg);
  pair_.answers(message_bytes(104, "abcd"));
  expect_one_block([] { return aaalib_sr_ipc_msg(9, "question", 8); });
  EXPECT_EQ(message_bytes(9, "question"), pair_.request());
}

TEST_F(HandedOutBlocks, AreNoneWhereNothingIsHandedOut) {
  const LibraryCounters counters;
  EXPECT_EQ(nullptr, aaa_recv_ipc_msg_from_sd(-1));
  EXPECT_EQ(nullptr, aaalib_recv_ipc_msg());
  EXPECT_EQ(nullptr, aaalib_recv_async_ipc_msg());
  EXPECT_EQ(nullptr, aaalib_sr_ipc_msg(9, nullptr, 0));
  EXPECT_EQ(nullptr, aaalib_sr_ipc_msg(9, nullptr, 1));
  EXPECT_EQ(nullptr, aaalib_sr_ipc_msg(9, "x", -1));
  EXPECT_EQ(counters.blocks_freed(), counters.blocks_allocated());
}

class Sending : public PairTest {};

TEST_F(Sending, WritesAHeaderWithIdZeroTheTypeAndTheBody) {
  const LibraryCounters counters;
  ASSERT_EQ(0, aaa_send_ipc_msg(pair_.own(), 132, "abc", 3));
  EXPECT_EQ(word_bytes({0x01010101, 0, 132, 3}) + "abc", pair_.peer_reads());
  EXPECT_EQ(1u, counters.blocks_allocated());
  EXPECT_EQ(1u, counters.blocks_freed());
}

TEST_F(Sending, WithoutABodyIsAHeader) {
  ASSERT_EQ(0, aaa_send_ipc_msg(pair_.own(), 132, nullptr, 0));
  EXPECT_EQ(16u, pair_.waiting_for_peer());
}

TEST_F(Sending, HandsHeaderAndBodyToOneCallWithWaitAll) {
  std::vector<std::size_t> sizes;
  int all_flags = 0;
  const ScriptedCalls calls({.send = [&](int, const void*, std::size_t size, int flags) {
    sizes.push_back(size);
    all_flags |= flags;
    return static_cast<ssize_t>(size);
  }});
  ASSERT_EQ(0, aaa_send_ipc_msg(pair_.own(), 5, "abc", 3));
  EXPECT_THAT(sizes, ElementsAre(19));
  EXPECT_EQ(0x100, all_flags & 0x100);
}

TEST_F(Sending, WithoutMemoryGives12AndSendsNothing) {
  const ScriptedCalls calls(no_memory());
  EXPECT_EQ(12, aaa_send_ipc_msg(pair_.own(), 5, "abc", 3));
  EXPECT_EQ(0u, pair_.waiting_for_peer());
}

TEST_F(Sending, ReturnsTheErrorOfTheSend) {
  EXPECT_EQ(22, aaa_send_ipc_msg(-1, 5, "abc", 3));
  EXPECT_EQ(22, aaalib_send_ipc_msg_print(-1, 5, "abc", 3));
  pair_.close_peer();
  EXPECT_EQ(32, aaa_send_ipc_msg(pair_.own(), 5, "abc", 3));
}

TEST_F(Sending, IsLoggedWithProcessTypeLengthAndDescriptor) {
  const OpenGate gate;
  ASSERT_EQ(0, aaalib_send_ipc_msg_print(pair_.own(), 132, "abc", 3));
  const LogLine line = log_.find(": send message(heartbeat) len(3) to " + fd_text() + "\n\r\r\n");
  EXPECT_EQ("[%5d][%14.14s][%30.30s] %s: send message(%s) len(%d) to %d\n\r\r\n", line.format);
  EXPECT_EQ("aaalib_send_ipc_msg_print", line.function());
  EXPECT_EQ(19u, pair_.waiting_for_peer());
  std::strcpy(g_aaalib_process_name, "dot1x");
  aaalib_send_ipc_msg_print(-1, 27, nullptr, 0);
  EXPECT_EQ(1u, log_.count("dot1x: send message(Unknown msg) len(0) to -1\n\r\r\n"));
}

// A frame whose 500 bytes of body are alike.
bool is_whole(const std::string& frame) {
  return frame.size() == 516 && word_at(frame, 0) == 0x01010101 &&
         frame.substr(16) == std::string(500, frame[16]);
}

// The marker of a frame must follow the frame before it, however short the writes were.
TEST_F(Sending, FramesOfSeveralThreadsNeverMix) {
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

class Receiving : public PairTest {
 protected:
  std::string receive() { return take_message(aaa_recv_ipc_msg_from_sd(pair_.own())); }
  std::string receive_logged() {
    return take_message(aaa::aaalib_recv_ipc_msg_from_sd(pair_.own()));
  }
  // Expects that nothing is received, and the reason.
  void expect_only_failure(const std::string& message) {
    const OpenLog log;
    EXPECT_EQ("none", receive_logged());
    EXPECT_THAT(log.messages(), ElementsAre(message));
    EXPECT_THAT(log.functions(), ElementsAre("aaalib_recv_ipc_msg_from_sd"));
  }
};

TEST_F(Receiving, GivesOneBlockOfHeaderAndBodyAndLeavesTheRest) {
  const std::string message = word_bytes({0x01010101, 7, 103, 4}) + "body";
  pair_.peer_writes(message + "rest");
  EXPECT_EQ(message, receive());
  EXPECT_EQ(4u, pair_.waiting_for_library());
}

TEST_F(Receiving, AnEmptyMessageReadsNoBody) {
  pair_.peer_writes(message_bytes(101) + "rest");
  EXPECT_EQ(message_bytes(101), receive());
  EXPECT_EQ(4u, pair_.waiting_for_library());
}

TEST_F(Receiving, AcceptsAnyMarkerAndAnyTypeWithoutALine) {
  const OpenGate gate;
  pair_.peer_writes(message_bytes(101, "a", 0));
  EXPECT_EQ(message_bytes(101, "a", 0), receive());
  for (const std::string& message :
       {message_bytes(101, "a", 0xFFFFFFFF), message_bytes(0xFFFFFFFF, "a")}) {
    pair_.peer_writes(message);
    EXPECT_EQ(message, receive_logged());
  }
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(Receiving, AFailedHeaderIsReported) {
  pair_.peer_writes("only a part");
  pair_.close_peer();
  expect_only_failure("Receive ipc message header failed, errno(32).\r\n");
}

TEST_F(Receiving, ABadDescriptorIsAFailedHeader) {
  const OpenGate gate;
  EXPECT_EQ(nullptr, aaa::aaalib_recv_ipc_msg_from_sd(-1));
  EXPECT_EQ(1u, log_.count("Receive ipc message header failed, errno(22).\r\n"));
}

TEST_F(Receiving, WithoutMemoryTheBodyStaysInTheSocket) {
  pair_.peer_writes(message_bytes(101, "abc"));
  const ScriptedCalls calls(no_memory());
  expect_only_failure("Alloc memory failed.\r\n");
  EXPECT_EQ(3u, pair_.waiting_for_library());
}

TEST_F(Receiving, ALengthThatNoBlockCanHaveCountsAsNoMemory) {
  pair_.peer_writes(word_bytes({0x01010101, 0, 5, 0xFFFFFFFF}) + "abc");
  expect_only_failure("Alloc memory failed.\r\n");
  EXPECT_EQ(3u, pair_.waiting_for_library());
}

TEST_F(Receiving, AFailedBodyIsReportedAndTheBlockFreed) {
  pair_.peer_writes(message_bytes(101, "abcdef").substr(0, 19));
  pair_.close_peer();
  expect_only_failure("Receive ipc message body failed, errno(32).\r\n");
}

TEST_F(Receiving, ThePlainReceiverWritesNoLines) {
  const OpenGate gate;
  EXPECT_EQ(nullptr, aaa_recv_ipc_msg_from_sd(-1));
  pair_.peer_writes(message_bytes(101, "abcdef").substr(0, 19));
  pair_.close_peer();
  EXPECT_EQ("none", receive());
  EXPECT_EQ("none", receive());
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(Receiving, AClosedGateKeepsEveryLineBackOfSendingToo) {
  pair_.close_peer();
  EXPECT_EQ("none", receive_logged());
  aaalib_send_ipc_msg_print(pair_.own(), 5, "abc", 3);
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(Receiving, TheRequestAndEventSocketsAreReadByTheirFields) {
  use_as_request_socket();
  pair_.peer_writes(message_bytes(101, "request"));
  EXPECT_EQ(message_bytes(101, "request"), take_message(aaalib_recv_ipc_msg()));
  EXPECT_EQ("none", take_message(aaalib_recv_async_ipc_msg()));
  aaa::store(g_aaa_client_cb.sync_fd, -1);
  use_as_event_socket();
  pair_.peer_writes(message_bytes(103, "event"));
  EXPECT_EQ("none", take_message(aaalib_recv_ipc_msg()));
  EXPECT_EQ(message_bytes(103, "event"), take_message(aaalib_recv_async_ipc_msg()));
}

}  // namespace test::message
