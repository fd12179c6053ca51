// The request interface in agent mode: results by callback, batches, and the client's own threads.
#include <poll.h>

#include <atomic>
#include <chrono>

#include "agent/agent_client.h"
#include "runtime/send/send_buffer.h"
#include "support/login.h"

namespace test::agent_requests {

class AgentRequests : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    sim_.add_user(alice());
  }

  // Reads what arrives until `done`, and runs a reconnection as soon as it is scheduled. Never
  // sleeps while there is work: results may have queued up.
  template <class Condition>
  void drive_until(Condition done) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!done()) {
      ASSERT_LT(std::chrono::steady_clock::now(), deadline)
          << "events " << testing::PrintToString(client_events()) << ", tasks "
          << testing::PrintToString(loop_.names());
      drive_once();
    }
  }

 private:
  void drive_once() {
    const std::vector<std::string> names = loop_.names();
    if (names.size() == 1 && names[0] == "aaa-reconnect") {
      run("aaa-reconnect");
      return;
    }
    pollfd watched = {.fd = event_socket(), .events = POLLIN, .revents = 0};
    if (poll(&watched, 1, 1) > 0) run("aaa-read");
  }
};

TEST_F(AgentRequests, AResultIsToldToTheCallbackOnTheLoop) {
  init_and_connect(client_with(ResultBy::callback));
  const std::uint32_t session = aaa_get_session_id();
  EXPECT_EQ(0, request_login(session, "alice", "secret"));
  EXPECT_EQ(0, read());
  ASSERT_EQ(1u, called_back().size());
  EXPECT_EQ(session, called_back()[0].session_id);
  EXPECT_EQ(0u, called_back()[0].code);
  expect_steady();
}

TEST_F(AgentRequests, AThreadMayWaitForItsResultWhileTheLoopRuns) {
  init_and_connect(client_with(ResultBy::waiting));
  std::atomic<bool> done = false;
  Verdict verdict = {};
  std::thread waiter([&] {
    verdict = log_in("alice", "wrong");
    done = true;
  });
  drive_until([&] { return done.load(); });
  waiter.join();
  EXPECT_EQ(1u, verdict.code);
  expect_steady();
}

TEST_F(AgentRequests, BatchesAreWrittenByTheFlushThread) {
  init_and_connect(client_with(ResultBy::callback, true));
  for (int i = 0; i < 40; ++i)
    EXPECT_EQ(0, request_login(aaa_get_session_id(), "alice", "secret"));
  drive_until([] { return called_back().size() == 40; });
  EXPECT_LT(0u, sim_.count(received(AAA_MSG_PAD_PKT, Role::request)));
  EXPECT_EQ(40u, sim_.count(received(AAA_MSG_AUTHEN_REQ)));
  expect_steady();
}

TEST_F(AgentRequests, BatchesGoOnAfterALoss) {
  init_and_connect(client_with(ResultBy::callback, true));
  lose_link();
  EXPECT_EQ(0, run("aaa-reconnect"));
  EXPECT_EQ(0, request_login(aaa_get_session_id(), "alice", "secret"));
  drive_until([] { return called_back().size() == 1; });
  EXPECT_TRUE(aaa::send_buffer_is_used());
}

TEST_F(AgentRequests, FinishDropsWhatIsBuffered) {
  init_and_connect(client_with(ResultBy::callback, true));
  const std::uint32_t session = aaa_get_session_id();
  {
    // Keeps the flush thread away.
    const aaa::ScopedLock link(aaa_lib_lock);
    const aaa::ScopedLock buffer(aaa_lib_send_buf_lock);
    EXPECT_EQ(0, request_login(session, "alice", "secret"));
    EXPECT_EQ(0, aaa_agent_finish());
  }
  EXPECT_TRUE(sim_.wait_for_connections(0));
  EXPECT_EQ(0u, sim_.count(received(AAA_MSG_AUTHEN_REQ)));
  EXPECT_EQ(0u, g_send_buf_msg_cnt);
}

TEST_F(AgentRequests, ThreadsMayCallWhileTheLinkComesAndGoes) {
  init_and_connect(client_with(ResultBy::callback));
  std::atomic<bool> stop = false;
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&] {
      while (!stop) {
        const std::uint32_t session = aaa_get_session_id();
        if (session != 0) request_login(session, "alice", "secret");
        aaa_get_new_model_status_syn();
      }
    });
  }
  for (std::size_t loss = 1; loss <= 10; ++loss) {
    const std::size_t before = called_back().size();
    drive_until([=] { return called_back().size() > before; });
    ASSERT_EQ(2u, sim_.close_connections());
    drive_until([=] { return times_told(AAA_EVENT_REGISTERED) == loss + 1; });
    expect_steady();
  }
  stop = true;
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(10u, times_told(AAA_EVENT_CONNECTION_LOST));
}

TEST_F(AgentRequests, AThreadMayDeregisterWhileTheLoopReads) {
  for (int i = 0; i < 10; ++i) {
    init_and_connect(client_with(ResultBy::callback));
    std::thread thread([this] { EXPECT_EQ(0, aaa_svr_dereg()); });
    run("aaa-read");
    thread.join();
    EXPECT_EQ(1, state());
    expect_unconnected();
    EXPECT_EQ(0, aaa_agent_finish());
  }
}

}  // namespace test::agent_requests
