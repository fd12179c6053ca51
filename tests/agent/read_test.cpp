// The task "aaa-read".
#include <sys/ioctl.h>

#include <atomic>
#include <thread>

#include "agent/agent_client.h"
#include "runtime/send/local_delivery.h"
#include "session/state/link.h"
#include "support/locked_state.h"

namespace test::agent_read {

class AgentRead : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    init_and_connect();
    loop_.take_journal();
  }
  // Has the client do `action` when it is told of changed method lists, which then happens.
  void deliver_to_client_that(std::function<void()> action) {
    aaa::store(g_aaa_client_cb.aaa_event_cb,
               client_that_at(AAA_EVENT_METHOD_LISTS_CHANGED, std::move(action)).aaa_event_cb);
    deliver(AAA_MSG_MLIST_CHANGE);
    EXPECT_EQ(1u, times_told(AAA_EVENT_METHOD_LISTS_CHANGED));
  }
  // The socket stays as it is and is not watched; only the heartbeat is left.
  void expect_unwatched(std::size_t registrations = 1) {
    EXPECT_THAT(loop_.names(), ElementsAre("aaa-heartbeat"));
    EXPECT_EQ(4, state());
    EXPECT_LT(0, event_socket());
    EXPECT_EQ(2 * registrations - 1, client_events().size());
    EXPECT_FALSE(aaa::link_is_lost());
  }
  void expect_link_given_up() {
    expect_reconnecting();
    expect_unconnected();
    EXPECT_EQ(1, state());
    EXPECT_THAT(client_events(), ElementsAre(1)) << "the loss is told later";
  }
  // Whether a result waits for a thread in aaa_user_get_result().
  static bool a_result_waits() {
    int bytes = 0;
    EXPECT_EQ(0, ioctl(aaa::load(lib_msg_server_fd), FIONREAD, &bytes));
    return bytes > 0;
  }
  // Runs the task while its header's or body's read fails.
  int read_failing(int error, std::size_t bytes_before = 0) {
    const ScriptedCalls calls(next_read_fails(error, bytes_before));
    return run("aaa-read");
  }
};

TEST_F(AgentRead, OneMessageATimeIsDispatchedAndTheSocketWatchedAgain) {
  send(AAA_MSG_MLIST_CHANGE);
  send(AAA_MSG_MLIST_CHANGE);
  for (std::size_t n = 1; n <= 2; ++n) {
    EXPECT_EQ(0, read());
    EXPECT_EQ(n, times_told(AAA_EVENT_METHOD_LISTS_CHANGED));
    expect_journal({"add aaa-read"});
    expect_steady();
  }
}

TEST_F(AgentRead, AMessageWithABodyIsDispatchedAndItsBodyFreed) {
  const std::uint32_t blocks = live_blocks();
  deliver(AAA_MSG_AAA_DEBUG_INFO, word_bytes({1, 500}));
  EXPECT_EQ(500u, g_aaa_status.debug_msg_limit);
  EXPECT_EQ(blocks, live_blocks());
  expect_steady();
}

TEST_F(AgentRead, IsNotScheduledAndHoldsNoLockWhileACallbackRuns) {
  deliver_to_client_that([this] {
    EXPECT_THAT(loop_.names(), ElementsAre("aaa-heartbeat"));
    EXPECT_EQ(nullptr, aaa::g_agent_read_ev);
    EXPECT_THAT(locks_held(), IsEmpty());
  });
  expect_steady();
}

TEST_F(AgentRead, TheMarkerIsNotChecked) {
  const LogCapture log;
  send_raw(message_bytes(AAA_MSG_MLIST_CHANGE, "", 0x0101017f));
  EXPECT_EQ(0, read());
  EXPECT_THAT(client_events(), ElementsAre(1, 3));
  EXPECT_EQ(0u, log.count("aaa id not match.\r\n"));
  expect_steady();
}

TEST_F(AgentRead, AQuestionIsAnswered) {
  deliver(AAA_MSG_GET_ONLINE_INFO);
  const auto answer = sim_.wait_for_message(received(AAA_MSG_RDS_ONLINE_INFO_RESP));
  ASSERT_TRUE(answer);
  EXPECT_EQ(Role::event, answer->role);
  expect_steady();
}

TEST_F(AgentRead, ComesAfterAMessageThatTheClientReadsItself) {
  send(AAA_MSG_NOTIFY_RESULT, std::string(30, '\7'));
  send(AAA_MSG_MLIST_CHANGE);
  EXPECT_EQ(message_bytes(103, std::string(30, '\7')), take_message(aaalib_recv_async_ipc_msg()));
  EXPECT_EQ(0u, times_told(AAA_EVENT_METHOD_LISTS_CHANGED));
  EXPECT_EQ(0, read());
  EXPECT_EQ(1u, times_told(AAA_EVENT_METHOD_LISTS_CHANGED));
  expect_steady();
}

TEST_F(AgentRead, AClosedLinkIsAnnouncedAsLostAndGivenUp) {
  const OpenLog log;
  std::vector<bool> announced;
  {
    const ScriptedCalls calls(
        {.close = on_request_socket(noting([&] { announced.push_back(aaa::link_is_lost()); }))});
    lose_link();
  }
  EXPECT_THAT(announced, ElementsAre(true)) << "before it is closed";
  expect_line(log, "aaa_lib_agent_read", "receive error with error Broken pipe.\r\n");
  expect_line(log, "aaa_lib_agent_read", kStartLine);
  expect_journal({"cancel aaa-heartbeat", "add aaa-reconnect"});
  expect_link_given_up();
  run("aaa-reconnect");
  EXPECT_FALSE(aaa::link_is_lost());
}

TEST_F(AgentRead, EveryScheduledTaskIsCancelledWithTheLink) {
  schedule_all_others();
  lose_link();
  expect_journal({"cancel aaa-connect", "cancel aaa-reconnect", "cancel spare",
                  "cancel aaa-heartbeat", "add aaa-reconnect"});
  EXPECT_EQ(nullptr, aaa::g_agent_spare_ev);
}

TEST_F(AgentRead, EveryConnectionErrorGivesTheLinkUp) {
  for (const int error :
       {EBADF, EPIPE, ENOTSOCK, EOPNOTSUPP, ENETDOWN, ECONNRESET, ENOTCONN, ETIMEDOUT}) {
    const OpenLog log;
    EXPECT_EQ(0, read_failing(error));
    expect_line(log, "aaa_lib_agent_read",
                std::string("receive error with error ") + std::strerror(error) + ".\r\n");
    expect_reconnecting();
    expect_unconnected();
    EXPECT_EQ(1, state());
    aaa_agent_finish();
    init_and_connect();
  }
}

TEST_F(AgentRead, AnotherHeaderErrorLeavesTheSocketUnwatchedUntilTheHeartbeatFails) {
  const OpenLog log;
  EXPECT_EQ(0, read_failing(ENOBUFS));
  expect_line(log, "aaa_lib_agent_read", "receive error with error No buffer space available.\r\n");
  EXPECT_EQ(0u, log.count(kStartLine));
  expect_unwatched();
  send(AAA_MSG_MLIST_CHANGE);
  for (int minute = 0; minute < 3; ++minute) {
    clock_.advance(60);
    run("aaa-heartbeat");
    expect_unwatched();
  }
  clock_.advance(60);
  run("aaa-heartbeat");
  expect_link_given_up();
  run_and_expect(0, "aaa-reconnect");
  EXPECT_THAT(client_events(), ElementsAre(1, 0, 1));
  expect_steady();
}

TEST_F(AgentRead, AnotherBodyErrorLeavesTheSocketUnwatched) {
  const OpenLog log;
  send(AAA_MSG_NOTIFY_RESULT, zeros(33));
  EXPECT_EQ(0, read_failing(ENOBUFS, 16));
  EXPECT_THAT(log.lines(), IsEmpty());
  expect_unwatched();
}

TEST_F(AgentRead, ALinkThatEndsInsideABodyIsGivenUp) {
  const std::uint32_t blocks = live_blocks();
  send_raw(message_bytes(AAA_MSG_NOTIFY_RESULT, zeros(50)).substr(0, 30));
  lose_link();
  EXPECT_EQ(blocks, live_blocks());
  expect_link_given_up();
}

TEST_F(AgentRead, WithoutMemoryForABodyTheSocketIsUnwatched) {
  for (const std::string& message :
       {message_bytes(AAA_MSG_NOTIFY_RESULT, zeros(333)),
        word_bytes({0x01010101, 0, AAA_MSG_NOTIFY_RESULT, 0xffffffff})}) {
    const OpenLog log;
    const ScriptedCalls calls(no_memory_for(334));
    send_raw(message);
    EXPECT_EQ(0, read());
    expect_only_line(log, "aaa_lib_agent_read", "out of memory.\r\n");
    expect_unwatched(times_told(AAA_EVENT_REGISTERED));
    aaa_agent_finish();
    init_and_connect();
  }
}

TEST_F(AgentRead, AfterDeregistrationAnErrorEndsItAll) {
  for (const int error : {EPIPE, ENOBUFS}) {
    aaa::store(g_aaa_client_cb.aaa_id, -1);
    const LogCapture log;
    EXPECT_EQ(0, read_failing(error));
    EXPECT_EQ(0u, log.count(kStartLine));
    EXPECT_EQ(1, state());
    EXPECT_THAT(loop_.names(), ElementsAre("aaa-heartbeat"));
    EXPECT_LT(0, event_socket()) << "the sockets are left alone";
    test::set_reg_state(AAA_REG_REGISTERED);
    aaa_agent_finish();
    init_and_connect();
  }
}

TEST_F(AgentRead, AClientThatDeregistersInACallbackHasNoSocketToWatch) {
  deliver_to_client_that(aaa_svr_dereg);
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-heartbeat"));
  EXPECT_EQ(0u, clock_.sleeps());
}

TEST_F(AgentRead, AClientThatClosesTheEventSocketInACallbackHasNoneToWatch) {
  deliver_to_client_that(aaalib_ipc_msg_proc_dereg_response);
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-heartbeat"));
  clock_.advance(181);
  run("aaa-heartbeat");
  expect_reconnecting();
}

TEST_F(AgentRead, ASocketThatAThreadClosesBeforeTheRecoveryIsReplacedToo) {
  std::atomic<bool> holds_lock = false;
  std::atomic<bool> reads = false;
  std::thread closing([&] {
    const aaa::ScopedLock lock(aaa_lib_lock);
    holds_lock = true;
    EXPECT_TRUE(eventually([&] { return reads.load(); })) << "nothing is read";
    aaalib_ipc_msg_proc_dereg_response();
  });
  EXPECT_TRUE(eventually([&] { return holds_lock.load(); }));
  Scripts scripts = next_read_fails(EPIPE, 0);
  scripts.recv = [&, fail = scripts.recv](auto... arguments) {
    reads = true;
    return fail(arguments...);
  };
  {
    const ScriptedCalls calls(std::move(scripts));
    EXPECT_EQ(0, run("aaa-read"));
  }
  closing.join();
  expect_link_given_up();
}

TEST_F(AgentRead, AThreadThatWaitsForAResultIsNotWokenByALoss) {
  aaa::set_waiting_session(77);
  lose_link();
  run("aaa-reconnect");
  EXPECT_FALSE(a_result_waits());
  aaa::set_waiting_session(0);
  expect_steady();
}

}  // namespace test::agent_read
