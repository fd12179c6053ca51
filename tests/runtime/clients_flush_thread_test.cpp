// The flush thread's work on a thread of the client's own.
#include "runtime/send_buffer_test.h"
#include "support/registered_test.h"

namespace test::clients_flush_thread {

// Runs aaa_lib_send_buf_chk_thread() on a thread of the client's own, until it is cancelled.
class ClientsFlushThread : public SendBufferTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(0, ::pthread_create(&thread_, nullptr, aaa_lib_send_buf_chk_thread, nullptr));
    EXPECT_TRUE(eventually([this] { return watchdog_.count("reg") == 1; })) << "not registered";
    for (const WatchdogCall& call : watchdog_.calls())
      if (call.name == "reg") watched_ = call.tid;
  }
  void TearDown() override {
    cancel();
    SendBufferTest::TearDown();
  }
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
  // Adds messages, which must be written soon.
  void expect_written(const std::vector<std::string>& messages) {
    std::string all;
    {
      const aaa::ScopedLock lock(aaa_lib_send_buf_lock);
      for (const std::string& message : messages) {
        add(message);
        all += message;
      }
    }
    EXPECT_TRUE(eventually([] {
      const aaa::ScopedLock lock(aaa_lib_send_buf_lock);
      return g_send_buf_msg_cnt == 0;
    }));
    EXPECT_EQ(batch_of(all), sent());
  }

  WatchdogRecorder watchdog_;
  pid_t watched_ = 0;

 private:
  pthread_t thread_ = {};
  bool ended_ = false;
};

TEST_F(ClientsFlushThread, IsNamedAfterTheProcessAndWritesTheBufferAndWhatComesLater) {
  EXPECT_EQ(std::vector<pid_t>{watched_}, threads_named(flush_thread_name()));
  expect_written({request(20, 1), request(24, 2)});
  expect_written({request(20, 3)});
  expect_written({request(20, 4)});
  EXPECT_EQ(pthread_t{0}, aaa::load(g_send_buf_tid));
}

TEST_F(ClientsFlushThread, LeavesTheWatchdogAndHoldsNoLockWhenItIsCancelled) {
  EXPECT_EQ(0u, watchdog_.count("unreg"));
  EXPECT_TRUE(cancel());
  ASSERT_EQ(1u, watchdog_.count("unreg"));
  EXPECT_EQ(watched_, watchdog_.calls().back().tid);
  EXPECT_THAT(locks_held(), IsEmpty());
}

TEST_F(ClientsFlushThread, OutlivesADeregistration) {
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_EQ(0u, watchdog_.count("unreg"));
  expect_written({request(20, 1)});
}

}  // namespace test::clients_flush_thread
