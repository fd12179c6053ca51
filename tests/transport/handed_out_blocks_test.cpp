// Messages that the library hands out are the caller's, who releases each with one aaa_free().
#include "support/library_counters.h"
#include "transport/answering_peer.h"
#include "transport/pair_test.h"

namespace test {
namespace {

class HandedOutBlocks : public PairTest {
 protected:
  // Expects one block more than before, and none once it is released. What the call itself has
  // used must be back with it.
  static void expect_one_block(aaa_ipc_header* message, const LibraryCounters& counters) {
    ASSERT_NE(nullptr, message);
    EXPECT_EQ(counters.blocks_freed() + 1, counters.blocks_allocated());
    aaa_free(0, "", message);
    EXPECT_EQ(counters.blocks_freed(), counters.blocks_allocated());
  }
};

TEST_F(HandedOutBlocks, OfABuiltMessage) {
  const LibraryCounters counters;
  std::uint32_t length = 0;
  expect_one_block(aaa_init_msg(5, 0, "abc", 3, &length), counters);
  EXPECT_EQ(19u, length);
}

TEST_F(HandedOutBlocks, OfAMessageFromAnyDescriptor) {
  pair_.peer_writes(message_bytes(101, "abc"));
  const LibraryCounters counters;
  expect_one_block(aaa_recv_ipc_msg_from_sd(pair_.own()), counters);
}

TEST_F(HandedOutBlocks, OfAMessageFromTheRequestSocket) {
  use_as_request_socket();
  pair_.peer_writes(message_bytes(101, "abc"));
  const LibraryCounters counters;
  expect_one_block(aaalib_recv_ipc_msg(), counters);
}

TEST_F(HandedOutBlocks, OfAMessageFromTheEventSocket) {
  aaa::store(g_aaa_client_cb.async_fd, pair_.own());
  pair_.peer_writes(message_bytes(101, "abc"));
  const LibraryCounters counters;
  expect_one_block(aaalib_recv_async_ipc_msg(), counters);
}

TEST_F(HandedOutBlocks, OfTheReplyOfAnExchange) {
  use_as_request_socket();
  AnsweringPeer peer(pair_, message_bytes(104, "abcd"));
  const LibraryCounters counters;
  expect_one_block(aaalib_sr_ipc_msg(9, "question", 8), counters);
  EXPECT_EQ(message_bytes(9, "question"), peer.request());
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

}  // namespace
}  // namespace test
