// Messages on a client's own descriptor take none of the library's locks; those on a socket of the
// link take that socket's write lock and no other.
#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "session/state/locks.h"
#include "support/lock_check.h"
#include "transport/pair_test.h"

namespace test {
namespace {

// In the order in which they are taken.
const std::vector<std::pair<std::string, pthread_mutex_t*>> every_lock = {
    {"aaa_lib_lock", &aaa_lib_lock},
    {"aaa_lib_send_buf_lock", &aaa_lib_send_buf_lock},
    {"request_write_lock", &aaa::request_write_lock},
    {"event_write_lock", &aaa::event_write_lock},
    {"event_read_lock", &aaa::event_read_lock},
    {"link_number_lock", &aaa::link_number_lock},
};

std::vector<std::string> locks_held() {
  std::vector<std::string> held;
  for (const auto& [name, lock] : every_lock)
    if (!is_free(*lock)) held.push_back(name);
  return held;
}

class OwnDescriptor : public PairTest {
 protected:
  void SetUp() override {
    PairTest::SetUp();
    ASSERT_TRUE(link_.open());
    aaa::store(g_aaa_client_cb.sync_fd, link_.own());
    aaa::store(g_aaa_client_cb.async_fd, link_.peer());
  }
  void TearDown() override {
    link_.close();
    PairTest::TearDown();
  }

  // Whether `call` returns while this thread holds every lock of the library.
  template <class Call>
  static bool returns_under_all_locks(Call call) {
    std::atomic<bool> returned = false;
    const auto call_and_tell = [&] {
      call();
      returned = true;
    };
    lock_all();
    std::thread caller(call_and_tell);
    const bool in_time = eventually([&] { return returned.load(); });
    unlock_all();
    caller.join();
    return in_time;
  }

  // The locks that are held while a message is written on a descriptor.
  template <class Call>
  static std::vector<std::string> held_while_writing(int fd, Call call) {
    std::vector<std::string> held;
    int writes = 0;
    Scripts scripts;
    scripts.send = [&](int given, const void*, std::size_t size, int) {
      ++writes;
      EXPECT_EQ(fd, given);
      held = locks_held();
      return static_cast<ssize_t>(size);
    };
    const ScriptedCalls calls(scripts);
    EXPECT_EQ(0, call(fd));
    EXPECT_EQ(1, writes);
    return held;
  }

  SocketPair link_;

 private:
  static void lock_all() {
    for (const auto& [name, lock] : every_lock)
      ASSERT_EQ(0, pthread_mutex_lock(lock)) << name;
  }
  static void unlock_all() {
    for (const auto& [name, lock] : every_lock)
      pthread_mutex_unlock(lock);
  }
};

std::int32_t send_frame(int fd) {
  return aaa_send_ipc_msg(fd, AAA_MSG_DELETE_USER, "abc", 3);
}
std::int32_t send_frame_with_a_line(int fd) {
  return aaalib_send_ipc_msg_print(fd, AAA_MSG_HEARTBEAT, "abc", 3);
}

TEST_F(OwnDescriptor, AMessageIsWrittenWithoutALock) {
  std::int32_t result = -1;
  EXPECT_TRUE(returns_under_all_locks([&] { result = send_frame(pair_.own()); }));
  EXPECT_EQ(0, result);
  EXPECT_EQ(message_bytes(AAA_MSG_DELETE_USER, "abc"), pair_.peer_reads(19));
}

TEST_F(OwnDescriptor, AMessageWithALineIsWrittenWithoutALock) {
  std::int32_t result = -1;
  EXPECT_TRUE(returns_under_all_locks([&] { result = send_frame_with_a_line(pair_.own()); }));
  EXPECT_EQ(0, result);
  EXPECT_EQ(message_bytes(AAA_MSG_HEARTBEAT, "abc"), pair_.peer_reads(19));
}

TEST_F(OwnDescriptor, AMessageIsReadWithoutALock) {
  pair_.peer_writes(message_bytes(AAA_MSG_NOTIFY_RESULT, "body"));
  aaa_ipc_header* message = nullptr;
  EXPECT_TRUE(returns_under_all_locks([&] { message = aaa_recv_ipc_msg_from_sd(pair_.own()); }));
  ASSERT_NE(nullptr, message);
  EXPECT_EQ(message_bytes(AAA_MSG_NOTIFY_RESULT, "body"),
            std::string(reinterpret_cast<const char*>(message), 20));
  aaa_free(0, "", message);
}

TEST_F(OwnDescriptor, BytesAreWrittenWithoutALock) {
  std::int32_t result = -1;
  EXPECT_TRUE(returns_under_all_locks([&] { result = aaa_msg_send(pair_.own(), "abc", 3, 0); }));
  EXPECT_EQ(0, result);
  EXPECT_EQ("abc", pair_.peer_reads(3));
}

TEST_F(OwnDescriptor, BytesAreReadWithoutALock) {
  pair_.peer_writes("abc");
  char bytes[4] = {};
  std::int32_t result = -1;
  EXPECT_TRUE(returns_under_all_locks([&] { result = aaa_msg_recv(pair_.own(), bytes, 3); }));
  EXPECT_EQ(0, result);
  EXPECT_STREQ("abc", bytes);
}

TEST_F(OwnDescriptor, NoLockIsHeldWhileItIsWritten) {
  EXPECT_THAT(held_while_writing(pair_.own(), send_frame), testing::IsEmpty());
  EXPECT_THAT(held_while_writing(pair_.own(), send_frame_with_a_line), testing::IsEmpty());
}

TEST_F(OwnDescriptor, TheRequestSocketIsWrittenUnderItsOwnLockAlone) {
  for (const auto send : {send_frame, send_frame_with_a_line}) {
    EXPECT_THAT(held_while_writing(link_.own(), send), testing::ElementsAre("request_write_lock"));
  }
}

TEST_F(OwnDescriptor, TheEventSocketIsWrittenUnderItsOwnLockAlone) {
  for (const auto send : {send_frame, send_frame_with_a_line}) {
    EXPECT_THAT(held_while_writing(link_.peer(), send), testing::ElementsAre("event_write_lock"));
  }
}

}  // namespace
}  // namespace test
