// Agent mode on an event loop of a development host, whose timers of the library are short.
#include <atomic>
#include <optional>

#include "agent_loop/loop_thread.h"
#include "runtime/receive/recovery.h"
#include "support/login.h"
#include "support/registered_test.h"

namespace {

// Heartbeats come every minute, or all the time.
std::atomic<bool> minutes_pass{false};

}  // namespace

extern "C" {

zv_thread* __real_zv_thread_add_timer_withname(zv_thread_master* master, zv_thread_fn callback,
                                               void* argument, long seconds, const char* name);

zv_thread* __wrap_zv_thread_add_timer_withname(zv_thread_master* master, zv_thread_fn callback,
                                               void* argument, long seconds, const char* name) {
  const bool is_short = minutes_pass || seconds == 3;
  return __real_zv_thread_add_timer_withname(master, callback, argument, is_short ? 0 : seconds,
                                             name);
}

}  // extern "C"

namespace test::agent_loop {

class AgentLoop : public RegisteredTest {
 protected:
  void SetUp() override {
    RegisteredTest::SetUp();
    sim_.add_user(alice());
    loop_.emplace();
  }
  void TearDown() override {
    minutes_pass = false;
    finish();
    EXPECT_EQ(0u, loop_->scheduled());
    loop_.reset();
    RegisteredTest::TearDown();
  }

  void init(const reg_info& info = client()) {
    loop_->call([&] { EXPECT_EQ(0, aaa_agent_init(&info, loop_->master())); });
  }
  void finish() {
    loop_->call([] { EXPECT_EQ(0, aaa_agent_finish()); });
  }
  void expect_registrations(std::size_t count) {
    ASSERT_TRUE(wait_for_event(AAA_EVENT_REGISTERED, count));
    EXPECT_EQ(count, times_told(AAA_EVENT_REGISTERED));
    EXPECT_EQ(count - 1, times_told(AAA_EVENT_CONNECTION_LOST));
    EXPECT_EQ(0u, times_told(AAA_EVENT_REREGISTERED));
    EXPECT_EQ(1u, loop_->scheduled("aaa-read"));
    EXPECT_EQ(1u, loop_->scheduled("aaa-heartbeat"));
    EXPECT_EQ(2u, loop_->scheduled());
  }

  std::optional<LoopThread> loop_;
};

TEST_F(AgentLoop, ConnectsAndWatches) {
  init();
  expect_registrations(1);
}

TEST_F(AgentLoop, AUserIsAuthenticatedThroughTheCallback) {
  init(client_with(ResultBy::callback));
  expect_registrations(1);
  EXPECT_EQ(0u, log_in("alice", "secret", ResultBy::callback).code);
  EXPECT_EQ(1u, log_in("alice", "wrong", ResultBy::callback).code);
}

TEST_F(AgentLoop, StartsBeforeTheLoopRuns) {
  const reg_info info = client();
  loop_.emplace([&](zv_thread_master* master) { EXPECT_EQ(0, aaa_agent_init(&info, master)); });
  expect_registrations(1);
}

TEST_F(AgentLoop, AWatchThatIsAskedForAgainReplacesTheFirst) {
  init(client_with(ResultBy::callback));
  expect_registrations(1);
  for (int i = 0; i < 3; ++i) {
    loop_->call([] {
      EXPECT_EQ(0, aaa_lib_thread_event(2, nullptr, aaa::load(g_aaa_client_cb.async_fd)));
    });
    EXPECT_EQ(1u, loop_->scheduled("aaa-read"));
    EXPECT_EQ(0u, log_in("alice", "secret", ResultBy::callback).code);
  }
  sim_.close_connections();
  expect_registrations(2);
}

TEST_F(AgentLoop, ABatchingClientGetsItsResults) {
  init(client_with(ResultBy::callback, true));
  expect_registrations(1);
  for (int i = 0; i < 30; ++i)
    EXPECT_EQ(0u, log_in("alice", "secret", ResultBy::callback).code);
}

TEST_F(AgentLoop, SurvivesAHundredClosings) {
  init();
  for (std::size_t life = 1; life <= 100; ++life) {
    expect_registrations(life);
    sim_.close_connections();
  }
  expect_registrations(101);
}

TEST_F(AgentLoop, SurvivesAHundredRestarts) {
  init();
  for (std::size_t life = 1; life <= 100; ++life) {
    expect_registrations(life);
    sim_.stop();
    ASSERT_TRUE(wait_for_event(AAA_EVENT_CONNECTION_LOST, life));
    sim_.start();
  }
  expect_registrations(101);
}

TEST_F(AgentLoop, StartsBeforeAaad) {
  sim_.stop();
  init();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_CONNECTION_LOST));
  EXPECT_EQ(1u, loop_->scheduled("aaa-reconnect"));
  EXPECT_EQ(1u, loop_->scheduled());
  sim_.start();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REGISTERED));
  EXPECT_EQ(1u, times_told(AAA_EVENT_CONNECTION_LOST));
}

TEST_F(AgentLoop, SendsHeartbeats) {
  minutes_pass = true;
  init();
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_HEARTBEAT, Role::request),
                                    std::chrono::seconds(5), 9));
}

TEST_F(AgentLoop, ASilentAaadIsGivenUpAndFoundAgain) {
  init();
  expect_registrations(1);
  minutes_pass = true;
  loop_->call([] {
    aaa::store(aaalib_hbt_last_recv, library_seconds() - 200);
    aaa_lib_thread_event(3, nullptr, 0);
    minutes_pass = false;
  });
  expect_registrations(2);
}

TEST_F(AgentLoop, NothingRunsAfterFinish) {
  init();
  expect_registrations(1);
  finish();
  EXPECT_EQ(0u, loop_->scheduled());
  EXPECT_TRUE(sim_.wait_for_connections(0));
  EXPECT_EQ(1u, times_told(AAA_EVENT_CONNECTION_LOST));
}

TEST_F(AgentLoop, LivesFollowOneAnother) {
  for (int life = 0; life < 20; ++life) {
    init();
    ASSERT_TRUE(wait_for_event(AAA_EVENT_REGISTERED, static_cast<std::size_t>(life) + 1));
    finish();
  }
  EXPECT_EQ(20u, times_told(AAA_EVENT_REGISTERED));
  EXPECT_EQ(20u, times_told(AAA_EVENT_CONNECTION_LOST));
}

TEST_F(AgentLoop, ThreadsMayCallWhileTheLinkComesAndGoes) {
  init(client_with(ResultBy::callback, true));
  expect_registrations(1);
  std::atomic<bool> stop = false;
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&] {
      while (!stop) {
        const std::uint32_t session = aaa_get_session_id();
        if (session != 0) request_login(session, "alice", "secret");
      }
    });
  }
  for (std::size_t life = 1; life <= 20; ++life) {
    const std::size_t before = called_back().size();
    EXPECT_TRUE(eventually([=] { return called_back().size() > before; }));
    sim_.close_connections();
    ASSERT_TRUE(wait_for_event(AAA_EVENT_REGISTERED, life + 1));
  }
  stop = true;
  for (std::thread& thread : threads)
    thread.join();
  expect_registrations(21);
}

}  // namespace test::agent_loop
