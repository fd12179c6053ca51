// Messages on a client's own descriptor take none of the library's locks; those on a socket of the
// link take that socket's write lock and no other.
#include "transport/pair_test.h"

namespace test::own_descriptor {

class OwnDescriptor : public PairTest {
 protected:
  OwnDescriptor() {
    aaa::store(g_aaa_client_cb.sync_fd, link_.own());
    aaa::store(g_aaa_client_cb.async_fd, link_.peer());
  }

  template <class Call>
  static void expect_zero_without_a_lock(Call call) {
    std::int32_t result = -1;
    EXPECT_TRUE(returns_under_locks(every_lock.size(), [&] { result = call(); }));
    EXPECT_EQ(0, result);
  }

  // The locks that are held while a message is written on a descriptor.
  template <class Call>
  static std::vector<std::string> held_while_writing(int fd, Call call) {
    std::vector<std::string> held;
    int writes = 0;
    const ScriptedCalls calls({.send = [&](int given, const void*, std::size_t size, int) {
      ++writes;
      EXPECT_EQ(fd, given);
      held = locks_held();
      return static_cast<ssize_t>(size);
    }});
    EXPECT_EQ(0, call(fd, AAA_MSG_DELETE_USER, "abc", 3));
    EXPECT_EQ(1, writes);
    return held;
  }

  ScriptedPeer link_;
};

TEST_F(OwnDescriptor, AMessageIsWrittenWithoutALock) {
  for (const auto send : {aaa_send_ipc_msg, aaalib_send_ipc_msg_print}) {
    expect_zero_without_a_lock([&] { return send(pair_.own(), AAA_MSG_DELETE_USER, "abc", 3); });
    EXPECT_EQ(message_bytes(AAA_MSG_DELETE_USER, "abc"), pair_.peer_reads(19));
  }
}

TEST_F(OwnDescriptor, ANullBodyIsWrittenAsAnEmptyOne) {
  for (const auto send : {aaa_send_ipc_msg, aaalib_send_ipc_msg_print}) {
    EXPECT_EQ(0, send(pair_.own(), AAA_MSG_DELETE_USER, nullptr, 3));
    EXPECT_EQ(message_bytes(AAA_MSG_DELETE_USER), pair_.peer_reads(16));
  }
}

TEST_F(OwnDescriptor, AMessageIsReadWithoutALock) {
  pair_.peer_writes(message_bytes(AAA_MSG_NOTIFY_RESULT, "body"));
  aaa_ipc_header* message = nullptr;
  expect_zero_without_a_lock([&] { return message = aaa_recv_ipc_msg_from_sd(pair_.own()), 0; });
  EXPECT_EQ(message_bytes(AAA_MSG_NOTIFY_RESULT, "body"), take_message(message));
}

TEST_F(OwnDescriptor, BytesAreWrittenAndReadWithoutALock) {
  expect_zero_without_a_lock([&] { return aaa_msg_send(pair_.own(), "abc", 3, 0); });
  EXPECT_EQ("abc", pair_.peer_reads(3));
  pair_.peer_writes("abc");
  char bytes[4] = {};
  expect_zero_without_a_lock([&] { return aaa_msg_recv(pair_.own(), bytes, 3); });
  EXPECT_STREQ("abc", bytes);
}

TEST_F(OwnDescriptor, NoLockIsHeldWhileItIsWrittenAndOnALinksSocketItsOwnAlone) {
  for (const auto send : {aaa_send_ipc_msg, aaalib_send_ipc_msg_print}) {
    EXPECT_THAT(held_while_writing(pair_.own(), send), IsEmpty());
    EXPECT_THAT(held_while_writing(link_.own(), send), ElementsAre("request_write_lock"));
    EXPECT_THAT(held_while_writing(link_.peer(), send), ElementsAre("event_write_lock"));
  }
}

}  // namespace test::own_descriptor
