// Deregistration waits for the library's threads.
#include <atomic>
#include <chrono>

#include "session/session_test.h"
#include "support/stopping_point.h"

namespace test::thread_end {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

StoppingPoint callback;
std::atomic<std::int64_t> took_ms;

// Deregisters, and returns how long that took.
Milliseconds deregister(std::int32_t result = 0) {
  const auto start = Clock::now();
  EXPECT_EQ(result, aaa_svr_dereg());
  return std::chrono::duration_cast<Milliseconds>(Clock::now() - start);
}

class ThreadEnd : public SessionTest {
 protected:
  ThreadEnd() { callback.reset(); }
  void TearDown() override {
    callback.go_on();
    SessionTest::TearDown();
  }
  // Registers a client in whose callback the receive thread then is.
  void enter_callback() {
    reg_info info = batching_client();
    info.notify_del_msg_cb = [](const void*) { callback.stop(); };
    register_client(info);
    send_notice();
    ASSERT_TRUE(callback.is_reached());
  }
};

// A thread leaves the watchdog at its end.
TEST_F(ThreadEnd, HasComeWhenDeregistrationReturns) {
  const WatchdogRecorder watchdog;
  const std::size_t threads = thread_count();
  for (std::size_t round = 1; round <= 20; ++round) {
    register_client(batching_client());
    EXPECT_TRUE(eventually([&] { return watchdog.count("reg") == 2 * round; }));
    EXPECT_EQ(0, aaa_svr_dereg());
    EXPECT_EQ(2 * round, watchdog.count("unreg"));
    // The kernel may need a moment to take a thread that has ended from its list.
    EXPECT_TRUE(eventually([&] { return thread_count() == threads; }));
  }
  EXPECT_EQ(40u, sim_.accepted_connections());
}

TEST_F(ThreadEnd, IsWaitedForWhileACallbackRuns) {
  enter_callback();
  std::thread host([] {
    EXPECT_TRUE(eventually([] { return aaa_is_alive() == 0; }));
    callback.go_on();
  });
  EXPECT_LT(deregister(), Milliseconds(1900));
  EXPECT_TRUE(callback.goes_on()) << "it came back before the callback had been let go";
  host.join();
}

TEST_F(ThreadEnd, IsWaitedForWhileAaadIsAwayToo) {
  reg_info info = batching_client();
  info.aaa_event_cb = [](std::uint32_t event) {
    if (event == AAA_EVENT_CONNECTION_LOST) callback.stop();
    return 0;
  };
  register_client(info);
  sim_.close_connections();
  EXPECT_TRUE(callback.is_reached());
  std::atomic<bool> returned = false;
  std::thread host([&] {
    EXPECT_FALSE(eventually([&] { return returned.load(); }, Milliseconds(300)));
    callback.go_on();
  });
  EXPECT_EQ(0, aaa_svr_dereg());
  returned = true;
  host.join();
}

TEST_F(ThreadEnd, IsWaitedForAtMost2Seconds) {
  enter_callback();
  const Milliseconds took = deregister();
  EXPECT_GE(took, Milliseconds(1990));
  EXPECT_LT(took, Milliseconds(8000));
  EXPECT_FALSE(callback.goes_on());
}

TEST_F(ThreadEnd, IsWaitedForWithoutALockOfTheLibrary) {
  enter_callback();
  std::thread leaving([] { EXPECT_EQ(0, aaa_svr_dereg()); });
  EXPECT_TRUE(eventually([] { return aaa_is_alive() == 0; }));
  EXPECT_TRUE(eventually([] { return is_free(aaa_lib_lock); }, Milliseconds(1500)));
  callback.go_on();
  leaving.join();
}

TEST_F(ThreadEnd, IsNotWaitedForByTheThreadItself) {
  took_ms = -1;
  reg_info info = batching_client();
  info.notify_del_msg_cb = [](const void*) { took_ms = deregister().count(); };
  register_client(info);
  send_notice();
  EXPECT_TRUE(eventually([] { return took_ms >= 0; }));
  EXPECT_LT(took_ms, 1900);
}

TEST_F(ThreadEnd, IsNotWaitedForWhenTheRegistrationGoesOn) {
  sim_.set_fault(Role::request, AAA_MSG_DEREGISTER_REQ, Fault::wrong_type);
  register_client(batching_client());
  EXPECT_LT(deregister(-1), Milliseconds(1900));
  sim_.set_fault(Role::request, AAA_MSG_DEREGISTER_REQ, Fault::none);
  sim_.close_connections();
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
}

}  // namespace test::thread_end
