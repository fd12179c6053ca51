// Leaving while the receive thread stands at each of its waiting points or inside a callback, and
// registering again at once.
#include <unistd.h>

#include <future>
#include <semaphore>

#include "runtime/receive/receive_thread.h"
#include "runtime/send/send_buffer.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "soak/soak_fixture.h"
#include "soak/timeouts.h"
#include "support/locked_state.h"

namespace soak {
namespace {

using aaa_sim::Role;
using aaa_sim::Settings;

std::function<void()>* on_mlist_change = nullptr;

int run_on_mlist_change(std::uint32_t event) {
  if (event == AAA_EVENT_METHOD_LISTS_CHANGED) (*on_mlist_change)();
  return 0;
}

class Cancellation : public SoakTest {
 protected:
  void SetUp() override {
    SoakTest::SetUp();
    keep_no_heartbeat();
    threads_ = test::thread_count();
    on_mlist_change = &callback_;
  }
  void TearDown() override {
    SoakTest::TearDown();
    EXPECT_TRUE(test::all_locks_are_free());
  }

  // Registers and lets `leave` end that, again and again. Now and then everything must be gone
  // before the next registration; else that comes at once.
  void repeat(const std::function<void()>& leave) {
    const int rounds = by_length(100, 5000);
    for (int n = 0; n < rounds && !HasFailure(); ++n) {
      register_quickly();
      leave();
      if (n % 10 == 9) expect_all_gone();
    }
    register_quickly();
    expect_it_works();
    EXPECT_EQ(0, aaa_svr_dereg());
  }

  void register_quickly() {
    test::MovedClock clock;
    clock.shorten_sleeps();
    reg_info info = client();
    info.use_send_buf = 1;
    info.aaa_event_cb = run_on_mlist_change;
    register_client(info);
  }

  void expect_all_gone() {
    EXPECT_TRUE(test::eventually(test::all_locks_are_free)) << "a lock is held";
    EXPECT_TRUE(test::eventually([this] { return test::live_blocks() == blocks_; })) << "blocks";
    EXPECT_TRUE(test::eventually([this] { return test::thread_count() == threads_; }))
        << test::thread_count() << " threads";
    EXPECT_TRUE(sim_.wait_for_connections(0));
    EXPECT_EQ(-1, g_aaa_client_cb.sync_fd);
    EXPECT_EQ(-1, g_aaa_client_cb.async_fd);
  }

  // Has the callback run, and expects of it to leave.
  void expect_left_in_callback() {
    left_ = {};
    sim_.send_message({}, Role::event, AAA_MSG_MLIST_CHANGE, 0);
    std::future<std::int32_t> result = left_.get_future();
    ASSERT_EQ(std::future_status::ready, result.wait_for(test::kPatience));
    EXPECT_EQ(0, result.get());
  }

  void send_bytes(const std::string& bytes) { sim_.send_raw({}, Role::event, test::view(bytes)); }
  void lose_link() { sim_.close_connections(); }
  void listen(bool on) {
    sim_.change([=](Settings& settings) { settings.listening = on; });
  }

  std::size_t threads_ = 0;  // without the library's
  std::uint32_t blocks_ = test::live_blocks();
  std::function<void()> callback_ = [] {};
  std::promise<std::int32_t> left_;
};

TEST_F(Cancellation, WhileItWaitsForAMessage) {
  const ReceiveThreadWatch watch;
  repeat([&] {
    ASSERT_TRUE(watch.is_idle());
    EXPECT_EQ(0, aaa_svr_dereg());
  });
}

TEST_F(Cancellation, InTheMiddleOfAHeader) {
  const ReceiveThreadWatch watch;
  repeat([&] {
    send_bytes(test::message_bytes(AAA_MSG_NOTIFY_DEL_MSG).substr(0, 9));
    ASSERT_TRUE(watch.waits_for_the_rest());
    EXPECT_EQ(0, aaa_svr_dereg());
  });
}

TEST_F(Cancellation, InTheMiddleOfABody) {
  const ReceiveThreadWatch watch;
  repeat([&] {
    send_bytes(test::message_bytes(AAA_MSG_NOTIFY_DEL_MSG, test::zeros(600)).substr(0, 16 + 99));
    ASSERT_TRUE(watch.waits_for_the_rest());
    EXPECT_EQ(0, aaa_svr_dereg());
  });
}

// The thread finds out after its pause.
TEST_F(Cancellation, LeavingBetweenTwoAttempts) {
  repeat([&] {
    test::MovedClock clock;
    clock.shorten_sleeps();
    listen(false);
    lose_link();
    ASSERT_TRUE(test::eventually([] { return aaa_is_alive() == 0; }));
    EXPECT_EQ(0, aaa_svr_dereg());
    EXPECT_TRUE(test::eventually([] { return !aaa::receive_thread_exists(); }));
    listen(true);
  });
}

// As for the other points, although leaving does not cancel the thread there. An attempt takes the
// lock, so that none is under way when the thread is cancelled; it is to make no further one.
TEST_F(Cancellation, InThePauseBetweenTwoAttempts) {
  std::atomic<int> attempts = 0;
  const test::ScriptedCalls calls(
      {.connect = [&](int, const sockaddr*, unsigned) -> std::optional<int> {
        ++attempts;
        return {};
      }});
  repeat([&] {
    listen(false);
    const test::MovedClock clock;
    lose_link();
    ASSERT_TRUE(test::eventually([&] { return clock.sleeps() > 0; }));
    int attempts_before = 0;
    {
      const aaa::ScopedLock lock(aaa_lib_lock);
      EXPECT_TRUE(aaa::aaalib_cancel_receive_thread());
      attempts_before = attempts;
    }
    EXPECT_TRUE(test::eventually([] { return test::receive_threads_of(getpid()) == 0; }));
    EXPECT_EQ(attempts_before, attempts);
    test::set_reg_state(AAA_REG_NOT_REGISTERED);
    aaa::aaalib_stop_send_buf_thread();
    listen(true);
  });
}

TEST_F(Cancellation, InTheMiddleOfARegistration) {
  const ReceiveThreadWatch watch;
  repeat([&] {
    sim_.change([](Settings& settings) { settings.delay = milliseconds(3); });
    const int reads_before = watch.registering_reads();
    lose_link();
    ASSERT_TRUE(watch.registers_after(reads_before));
    EXPECT_EQ(0, aaa_svr_dereg());
    sim_.change([](Settings& settings) { settings.delay = milliseconds(0); });
    EXPECT_EQ(0, aaa_is_alive());
  });
}

TEST_F(Cancellation, InsideACallback) {
  std::binary_semaphore begun{0};
  std::binary_semaphore may_end{0};
  std::binary_semaphore ended{0};
  callback_ = [&] {
    begun.release();
    may_end.acquire();
    ended.release();
  };
  repeat([&] {
    sim_.send_message({}, Role::event, AAA_MSG_MLIST_CHANGE, 0);
    ASSERT_TRUE(begun.try_acquire_for(test::kPatience));
    std::thread client([&] {
      EXPECT_TRUE(test::eventually([] { return !aaa::receive_thread_exists(); })) << "cancelled";
      may_end.release();
    });
    EXPECT_EQ(0, aaa_svr_dereg());
    client.join();
    EXPECT_TRUE(ended.try_acquire_for(test::kPatience));
  });
}

TEST_F(Cancellation, FromInsideACallback) {
  callback_ = [&] { left_.set_value(aaa_svr_dereg()); };
  repeat([&] { expect_left_in_callback(); });
}

TEST_F(Cancellation, FromInsideACallbackThatRegistersAgain) {
  callback_ = [&] {
    const std::int32_t result = aaa_svr_dereg();
    register_quickly();
    left_.set_value(result);
  };
  repeat([&] {
    expect_left_in_callback();
    EXPECT_TRUE(test::eventually([] { return test::receive_threads_of(getpid()) == 1; }));
    EXPECT_EQ(0, aaa_svr_dereg());
  });
}

}  // namespace
}  // namespace soak
