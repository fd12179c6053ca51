// Deregistration waits for the library's threads.
#include <atomic>
#include <chrono>
#include <thread>

#include "session/session_test.h"

namespace {

using Clock = std::chrono::steady_clock;

std::atomic<bool> inside;
std::atomic<bool> let_go;

class ThreadEnd : public test::SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    inside = let_go = false;
    threads_ = test::thread_count();
  }
  void TearDown() override {
    let_go = true;
    SessionTest::TearDown();
  }
  static reg_info batching_client() {
    reg_info info = test::client();
    info.use_send_buf = 1;
    return info;
  }
  void enter_callback() {
    reg_info info = batching_client();
    info.notify_del_msg_cb = [](const void*) {
      inside = true;
      EXPECT_TRUE(test::eventually([] { return let_go.load(); }, std::chrono::seconds(20)));
    };
    register_client(info);
    const std::vector<std::uint8_t> body(560);
    sim_.send_message({}, test::Role::event, AAA_MSG_NOTIFY_DEL_MSG, 0, body);
    ASSERT_TRUE(test::eventually([] { return inside.load(); }));
  }

  std::size_t threads_ = 0;
};

TEST_F(ThreadEnd, HasComeWhenDeregistrationReturns) {
  for (int round = 0; round < 20; ++round) {
    register_client(batching_client());
    EXPECT_EQ(0, aaa_svr_dereg());
    // The kernel may need a moment to take a thread that has ended from its list.
    EXPECT_TRUE(test::eventually([&] { return test::thread_count() == threads_; }));
  }
}

TEST_F(ThreadEnd, IsWaitedForWhileACallbackRuns) {
  enter_callback();
  std::thread host([] {
    EXPECT_TRUE(test::eventually([] { return aaa_is_alive() == 0; }));
    let_go = true;
  });
  const auto start = Clock::now();
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_TRUE(let_go) << "it came back before the callback had been let go";
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(1900));
  host.join();
}

TEST_F(ThreadEnd, IsWaitedForWhileAaadIsAwayToo) {
  reg_info info = batching_client();
  info.aaa_event_cb = [](std::uint32_t event) {
    if (event != AAA_EVENT_CONNECTION_LOST) return 0;
    inside = true;
    EXPECT_TRUE(test::eventually([] { return let_go.load(); }, std::chrono::seconds(20)));
    return 0;
  };
  register_client(info);
  sim_.close_connections();
  EXPECT_TRUE(test::eventually([] { return inside.load(); }));
  std::atomic<bool> returned = false;
  std::thread host([&] {
    EXPECT_FALSE(test::eventually([&] { return returned.load(); }, std::chrono::milliseconds(300)));
    let_go = true;
  });
  EXPECT_EQ(0, aaa_svr_dereg());
  returned = true;
  host.join();
}

TEST_F(ThreadEnd, IsWaitedForAtMost2Seconds) {
  enter_callback();
  const auto start = Clock::now();
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(1990));
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(8));
  EXPECT_FALSE(let_go);
}

TEST_F(ThreadEnd, IsWaitedForWithoutALockOfTheLibrary) {
  enter_callback();
  std::thread leaving([] { EXPECT_EQ(0, aaa_svr_dereg()); });
  EXPECT_TRUE(test::eventually([] { return aaa_is_alive() == 0; }));
  EXPECT_TRUE(test::eventually([] { return test::is_free(aaa_lib_lock); },
                               std::chrono::milliseconds(1500)));
  let_go = true;
  leaving.join();
}

TEST_F(ThreadEnd, IsNotWaitedForByTheThreadItself) {
  static std::atomic<std::int64_t> took_ms;
  took_ms = -1;
  reg_info info = batching_client();
  info.notify_del_msg_cb = [](const void*) {
    const auto start = Clock::now();
    aaa_svr_dereg();
    took_ms = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
  };
  register_client(info);
  const std::vector<std::uint8_t> body(560);
  sim_.send_message({}, test::Role::event, AAA_MSG_NOTIFY_DEL_MSG, 0, body);
  EXPECT_TRUE(test::eventually([] { return took_ms >= 0; }));
  EXPECT_LT(took_ms, 1900);
}

TEST_F(ThreadEnd, IsNotWaitedForWhenTheRegistrationGoesOn) {
  sim_.set_fault(test::Role::request, AAA_MSG_DEREGISTER_REQ, test::Fault::wrong_type);
  register_client(batching_client());
  const auto start = Clock::now();
  EXPECT_EQ(-1, aaa_svr_dereg());
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(1900));
  sim_.set_fault(test::Role::request, AAA_MSG_DEREGISTER_REQ, test::Fault::none);
  sim_.close_connections();
  EXPECT_TRUE(test::wait_for_event(AAA_EVENT_REREGISTERED));
}

}  // namespace
