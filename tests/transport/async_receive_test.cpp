// A client that reads a message of the link itself: what the receive thread has received ahead
// comes first, no message is cut, and nothing is taken that belongs to the next one.
#include <sys/socket.h>
#include <sys/time.h>

#include "session/state/locks.h"
#include "support/lock_check.h"
#include "transport/pair_test.h"
#include "transport/read_ahead.h"

namespace test {
namespace {

class AsyncReceive : public PairTest {
 protected:
  void SetUp() override {
    PairTest::SetUp();
    limit_reads();
    aaa::store(g_aaa_client_cb.async_fd, pair_.own());
  }
  void TearDown() override {
    forget_what_was_received_ahead();
    PairTest::TearDown();
  }

  // As the receive thread does: takes so many bytes, and ahead whatever has come.
  static std::string receive_thread_takes(std::size_t length) {
    std::string bytes(length, '\0');
    std::size_t received = 0;
    const aaa::ScopedLock lock(aaa::event_read_lock);
    EXPECT_EQ(0,
              aaa::event_read_ahead.receive(load_event_socket(), bytes.data(), length, received));
    return bytes;
  }

  static std::string taken(aaa_ipc_header* message) {
    if (message == nullptr) return "none";
    const std::string bytes(reinterpret_cast<const char*>(message), 16 + message->length);
    aaa_free(0, "", message);
    return bytes;
  }
  static std::string client_takes() { return taken(aaalib_recv_async_ipc_msg()); }

 private:
  // As on a socket of the link: a read that finds nothing ends.
  void limit_reads() {
    const timeval second = {.tv_sec = 1, .tv_usec = 0};
    ASSERT_EQ(0, ::setsockopt(pair_.own(), SOL_SOCKET, SO_RCVTIMEO, &second, sizeof second));
  }
  static void forget_what_was_received_ahead() {
    const aaa::ScopedLock lock(aaa::event_read_lock);
    aaa::event_read_ahead.clear();
  }
  static int load_event_socket() { return aaa::load(g_aaa_client_cb.async_fd); }
};

std::string event_message(char letter) {
  return message_bytes(AAA_MSG_NOTIFY_DEL_MSG, std::string(40, letter));
}

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
  EXPECT_FALSE(aaa::event_read_ahead.holds_bytes());
}

TEST_F(AsyncReceive, TheReceiveThreadGoesOnWithTheNextMessage) {
  pair_.peer_writes(event_message('a') + event_message('b') + event_message('c'));
  EXPECT_EQ(event_message('a'), receive_thread_takes(56));
  EXPECT_EQ(event_message('b'), client_takes());
  EXPECT_EQ(event_message('c'), receive_thread_takes(56));
}

// Which of two locks are held in each read of the socket.
struct HeldInReads {
  Scripts script(int fd) {
    Scripts scripts;
    scripts.recv = [this, fd](int given, void*, std::size_t, int) -> std::optional<ssize_t> {
      if (given != fd) return std::nullopt;
      event_read_lock.push_back(!is_free(aaa::event_read_lock));
      lib_lock.push_back(!is_free(aaa_lib_lock));
      return std::nullopt;
    };
    return scripts;
  }
  std::vector<bool> event_read_lock;
  std::vector<bool> lib_lock;
};

TEST_F(AsyncReceive, HoldsTheLockOfTheReaderAndNotThatOfTheLibrary) {
  HeldInReads held;
  const ScriptedCalls calls(held.script(pair_.own()));
  pair_.peer_writes(event_message('a'));
  EXPECT_EQ(event_message('a'), client_takes());
  EXPECT_THAT(held.event_read_lock, testing::ElementsAre(true, true));
  EXPECT_THAT(held.lib_lock, testing::ElementsAre(false, false));
  EXPECT_TRUE(is_free(aaa::event_read_lock));
}

TEST_F(AsyncReceive, FromTheRequestSocketHoldsTheLockOfTheLibrary) {
  aaa::store(g_aaa_client_cb.async_fd, -1);
  use_as_request_socket();
  HeldInReads held;
  const ScriptedCalls calls(held.script(pair_.own()));
  pair_.peer_writes(event_message('a'));
  EXPECT_EQ(event_message('a'), taken(aaalib_recv_ipc_msg()));
  EXPECT_THAT(held.lib_lock, testing::ElementsAre(true, true));
  EXPECT_THAT(held.event_read_lock, testing::ElementsAre(false, false));
  EXPECT_TRUE(is_free(aaa_lib_lock));
}

}  // namespace
}  // namespace test
