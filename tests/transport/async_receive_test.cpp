// A client that reads a message of the link itself: what the receive thread has received ahead
// comes first, no message is cut, and nothing is taken that belongs to the next one.
#include <sys/socket.h>
#include <sys/time.h>

#include "transport/pair_test.h"
#include "transport/read_ahead.h"

namespace test::async_receive {

std::string event_message(char letter) {
  return message_bytes(AAA_MSG_NOTIFY_DEL_MSG, std::string(40, letter));
}

class AsyncReceive : public PairTest {
 protected:
  AsyncReceive() {
    // As on a socket of the link: a read that finds nothing ends.
    const timeval second = {.tv_sec = 1, .tv_usec = 0};
    EXPECT_EQ(0, ::setsockopt(pair_.own(), SOL_SOCKET, SO_RCVTIMEO, &second, sizeof second));
    use_as_event_socket();
  }
  ~AsyncReceive() override {
    const aaa::ScopedLock lock(aaa::event_read_lock);
    aaa::event_read_ahead.clear();
  }

  // As the receive thread does: takes so many bytes, and ahead whatever has come.
  std::string receive_thread_takes(std::size_t length) {
    std::string bytes(length, '\0');
    std::size_t received = 0;
    const aaa::ScopedLock lock(aaa::event_read_lock);
    EXPECT_EQ(0, aaa::event_read_ahead.receive(pair_.own(), bytes.data(), length, received));
    return bytes;
  }
  static std::string client_takes() { return take_message(aaalib_recv_async_ipc_msg()); }
};

TEST_F(AsyncReceive, WhatWasReceivedAheadComesFirstAndInOrder) {
  pair_.peer_writes(event_message('a') + event_message('b') + event_message('c'));
  EXPECT_EQ(event_message('a'), receive_thread_takes(56));
  EXPECT_EQ(0u, pair_.waiting_for_library());
  pair_.peer_writes(event_message('d'));
  EXPECT_EQ(event_message('b'), client_takes());
  EXPECT_EQ(56u, pair_.waiting_for_library()) << "read although there was enough at hand";
  EXPECT_EQ(event_message('c'), client_takes());
  EXPECT_EQ(event_message('d'), client_takes());
}

TEST_F(AsyncReceive, AMessageThatWasReceivedAheadInPartIsNotCut) {
  const std::string second = event_message('b');
  for (std::size_t cut = 1; cut < second.size(); ++cut) {
    pair_.peer_writes(event_message('a') + second.substr(0, cut));
    EXPECT_EQ(event_message('a'), receive_thread_takes(56));
    pair_.peer_writes(second.substr(cut) + event_message('c'));
    ASSERT_EQ(second, client_takes()) << "cut at byte " << cut;
    ASSERT_EQ(event_message('c'), client_takes()) << "cut at byte " << cut;
  }
}

TEST_F(AsyncReceive, TakesNothingOfTheNextMessage) {
  pair_.peer_writes(event_message('a') + event_message('b'));
  EXPECT_EQ(event_message('a'), client_takes());
  EXPECT_EQ(56u, pair_.waiting_for_library());
  EXPECT_FALSE(aaa::event_read_ahead.size() != 0);
}

TEST_F(AsyncReceive, TheReceiveThreadGoesOnWithTheNextMessage) {
  pair_.peer_writes(event_message('a') + event_message('b') + event_message('c'));
  EXPECT_EQ(event_message('a'), receive_thread_takes(56));
  EXPECT_EQ(event_message('b'), client_takes());
  EXPECT_EQ(event_message('c'), receive_thread_takes(56));
}

TEST_F(AsyncReceive, HoldsTheEventReadLockAloneAndOnTheRequestSocketTheLibraryLockAlone) {
  std::vector<std::vector<std::string>> held;
  const auto note = noting([&] { held.push_back(locks_held()); });
  const ScriptedCalls calls({.recv = note});
  pair_.peer_writes(event_message('a') + event_message('b'));
  EXPECT_EQ(event_message('a'), client_takes());
  aaa::store(g_aaa_client_cb.async_fd, -1);
  use_as_request_socket();
  EXPECT_EQ(event_message('b'), take_message(aaalib_recv_ipc_msg()));
  using Locks = std::vector<std::string>;
  EXPECT_THAT(held, ElementsAre(Locks{"event_read_lock"}, Locks{"event_read_lock"},
                                Locks{"aaa_lib_lock"}, Locks{"aaa_lib_lock"}));
  EXPECT_THAT(locks_held(), IsEmpty());
}

}  // namespace test::async_receive
