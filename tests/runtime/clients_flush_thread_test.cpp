// The flush thread as a client starts it: its work in a thread of the client's own, and starting
// the library's by hand.
#include <pthread.h>

#include <atomic>

#include "runtime/send_buffer_test.h"
#include "support/registered_test.h"
#include "support/watchdog_recorder.h"

namespace test {
namespace {

// Runs aaa_lib_send_buf_chk_thread() until it is cancelled.
class ClientsThread {
 public:
  ClientsThread() {
    EXPECT_EQ(0, ::pthread_create(&thread_, nullptr, aaa_lib_send_buf_chk_thread, nullptr));
  }
  ~ClientsThread() { cancel(); }
  ClientsThread(const ClientsThread&) = delete;
  ClientsThread& operator=(const ClientsThread&) = delete;

  // Returns whether the thread has ended by its cancellation, in time.
  bool cancel() {
    if (ended_) return true;
    ::pthread_cancel(thread_);
    timespec deadline = {};
    ::clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += 20;
    void* result = nullptr;
    ended_ = ::pthread_timedjoin_np(thread_, &result, &deadline) == 0;
    EXPECT_TRUE(ended_) << "the thread goes on";
    return ended_ && result == PTHREAD_CANCELED;
  }

 private:
  pthread_t thread_ = {};
  bool ended_ = false;
};

class ClientsFlushThread : public SendBufferTest {
 protected:
  // The thread that is under the watchdog, once there is one.
  pid_t watched_thread() {
    EXPECT_TRUE(eventually([this] { return watchdog_.count("reg") == 1; })) << "not registered";
    for (const WatchdogCall& call : watchdog_.calls())
      if (call.name == "reg") return call.tid;
    return 0;
  }
  std::vector<pid_t> threads_that_left() const {
    std::vector<pid_t> threads;
    for (const WatchdogCall& call : watchdog_.calls())
      if (call.name == "unreg") threads.push_back(call.tid);
    return threads;
  }
  bool buffer_becomes_empty() {
    return eventually([] {
      const aaa::ScopedLock lock(aaa_lib_send_buf_lock);
      return g_send_buf_msg_cnt == 0;
    });
  }

  WatchdogRecorder watchdog_;
};

TEST_F(ClientsFlushThread, WritesTheBufferAndEmptiesIt) {
  ClientsThread thread;
  {
    const aaa::ScopedLock lock(aaa_lib_send_buf_lock);
    add(request(20, 1));
    add(request(24, 2));
  }
  EXPECT_TRUE(buffer_becomes_empty());
  EXPECT_EQ(pthread_t{0}, aaa::load(g_send_buf_tid));
  EXPECT_EQ(words({0x01010101, 0, 25, 44}) + request(20, 1) + request(24, 2), sent());
}

TEST_F(ClientsFlushThread, WritesWhatComesLaterToo) {
  ClientsThread thread;
  for (std::uint8_t mark = 1; mark <= 3; ++mark) {
    add(request(20, mark));
    ASSERT_TRUE(buffer_becomes_empty());
    EXPECT_EQ(batch_of(request(20, mark)), sent());
  }
}

TEST_F(ClientsFlushThread, NamesTheThreadAfterTheProcess) {
  ClientsThread thread;
  const pid_t watched = watched_thread();
  EXPECT_EQ(std::vector<pid_t>{watched}, threads_named(flush_thread_name()));
}

TEST_F(ClientsFlushThread, LeavesTheWatchdogWhenItIsCancelled) {
  ClientsThread thread;
  const pid_t watched = watched_thread();
  EXPECT_TRUE(threads_that_left().empty());
  EXPECT_TRUE(thread.cancel());
  EXPECT_EQ(std::vector<pid_t>{watched}, threads_that_left());
}

TEST_F(ClientsFlushThread, HoldsNoLockAfterItIsCancelled) {
  ClientsThread thread;
  watched_thread();
  EXPECT_TRUE(thread.cancel());
  EXPECT_EQ(0, pthread_mutex_trylock(&aaa_lib_send_buf_lock));
  pthread_mutex_unlock(&aaa_lib_send_buf_lock);
}

TEST_F(ClientsFlushThread, IsOutlivedByADeregistration) {
  ClientsThread thread;
  watched_thread();
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_TRUE(threads_that_left().empty());
  add(request(20, 1));
  EXPECT_TRUE(buffer_becomes_empty());
  EXPECT_EQ(batch_of(request(20, 1)), sent());
}

TEST_F(ClientsFlushThread, OfTheLibraryIsStartedOnce) {
  std::atomic<int> started = 0;
  Scripts scripts;
  scripts.pthread_create = [&]() -> std::optional<int> {
    ++started;
    return std::nullopt;
  };
  const ScriptedCalls calls(scripts);
  EXPECT_EQ(0, aaalib_init_send_buf_thread());
  const pthread_t first = aaa::load(g_send_buf_tid);
  EXPECT_EQ(0, aaalib_init_send_buf_thread());
  EXPECT_EQ(1, started);
  EXPECT_EQ(first, aaa::load(g_send_buf_tid));
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_EQ(pthread_t{0}, aaa::load(g_send_buf_tid));
}

}  // namespace
}  // namespace test
