// The task "aaa-read".
#include <sys/ioctl.h>

#include <cerrno>
#include <cstring>

#include "agent/agent_client.h"
#include "runtime/agent/agent_tasks.h"
#include "runtime/send/waiting_session.h"
#include "session/session_test.h"
#include "support/expected_line.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char start_again_line[] = "aaa client start to try re-reg.\r\n";

class AgentRead : public AgentTest {
 protected:
  // The socket stays as it is and is not watched; only the heartbeat is left.
  void expect_unwatched() {
    EXPECT_THAT(loop_.names(), ElementsAre("aaa-heartbeat"));
    EXPECT_EQ(4, state());
    EXPECT_LT(0, event_socket());
    EXPECT_THAT(client_events(), ElementsAre(1));
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

TEST_F(AgentRead, AMessageWithoutABodyIsDispatchedAndTheSocketWatchedAgain) {
  init_and_connect();
  loop_.take_journal();
  deliver(AAA_MSG_MLIST_CHANGE);
  EXPECT_THAT(client_events(), ElementsAre(1, 3));
  EXPECT_THAT(loop_.take_journal(), ElementsAre("add aaa-read"));
  expect_steady();
}

TEST_F(AgentRead, AMessageWithABodyIsDispatchedAndItsBodyFreed) {
  init_and_connect();
  const std::uint32_t blocks = live_blocks();
  deliver(AAA_MSG_AAA_DEBUG_INFO, aaa_sim::encode_words(std::vector<std::uint32_t>{1, 500}));
  EXPECT_EQ(500u, g_aaa_status.debug_msg_limit);
  EXPECT_EQ(blocks, live_blocks());
  expect_steady();
}

TEST_F(AgentRead, ReadsOneMessageATime) {
  init_and_connect();
  send(AAA_MSG_MLIST_CHANGE);
  send(AAA_MSG_MLIST_CHANGE);
  read();
  EXPECT_EQ(1u, times_told(AAA_EVENT_METHOD_LISTS_CHANGED));
  read();
  EXPECT_EQ(2u, times_told(AAA_EVENT_METHOD_LISTS_CHANGED));
}

TEST_F(AgentRead, IsNotScheduledWhileACallbackRuns) {
  init_and_connect(client_that([this](std::uint32_t event) {
    if (event != AAA_EVENT_METHOD_LISTS_CHANGED) return;
    EXPECT_THAT(loop_.names(), ElementsAre("aaa-heartbeat"));
    EXPECT_EQ(nullptr, aaa::g_agent_read_ev);
    EXPECT_TRUE(is_free(aaa_lib_lock));
    EXPECT_TRUE(is_free(aaa::event_read_lock));
  }));
  deliver(AAA_MSG_MLIST_CHANGE);
  expect_steady();
}

TEST_F(AgentRead, TheMarkerIsNotChecked) {
  init_and_connect();
  const LogCapture log;
  Bytes bytes = aaa_sim::to_bytes(aaa_sim::make_frame(AAA_MSG_MLIST_CHANGE, 0, {}));
  bytes[0] = 0x7f;
  send_raw(bytes);
  EXPECT_EQ(0, read());
  EXPECT_THAT(client_events(), ElementsAre(1, 3));
  EXPECT_EQ(0u, log.count("aaa id not match.\r\n"));
  expect_steady();
}

TEST_F(AgentRead, AQuestionIsAnswered) {
  init_and_connect();
  deliver(AAA_MSG_GET_ONLINE_INFO);
  const auto answer = sim_.wait_for_message(received(AAA_MSG_RDS_ONLINE_INFO_RESP));
  ASSERT_TRUE(answer);
  EXPECT_EQ(Role::event, answer->role);
  expect_steady();
}

TEST_F(AgentRead, AClosedLinkIsGivenUp) {
  init_and_connect();
  const OpenGate gate;
  const LogCapture log;
  loop_.take_journal();
  lose_link();
  expect_line(log, "aaa_lib_agent_read", "receive error with error Broken pipe.\r\n");
  expect_line(log, "aaa_lib_agent_read", start_again_line);
  EXPECT_THAT(loop_.take_journal(), ElementsAre("cancel aaa-heartbeat", "add aaa-reconnect"));
  expect_link_given_up();
}

TEST_F(AgentRead, EveryScheduledTaskIsCancelledWithTheLink) {
  init_and_connect();
  aaa_lib_thread_event(0, nullptr, 0);
  aaa_lib_thread_event(1, nullptr, 0);
  aaa::g_agent_spare_ev =
      zv_thread_add_event_withname(loop_.master(), aaa::aaa_lib_agent_read, nullptr, 0, "spare");
  loop_.take_journal();
  lose_link();
  EXPECT_THAT(loop_.take_journal(),
              ElementsAre("cancel aaa-connect", "cancel aaa-reconnect", "cancel spare",
                          "cancel aaa-heartbeat", "add aaa-reconnect"));
  EXPECT_EQ(nullptr, aaa::g_agent_spare_ev);
}

TEST_F(AgentRead, EveryConnectionErrorGivesTheLinkUp) {
  for (const int error :
       {EBADF, EPIPE, ENOTSOCK, EOPNOTSUPP, ENETDOWN, ECONNRESET, ENOTCONN, ETIMEDOUT}) {
    init_and_connect();
    const OpenGate gate;
    const LogCapture log;
    EXPECT_EQ(0, read_failing(error));
    expect_line(log, "aaa_lib_agent_read",
                std::string("receive error with error ") + std::strerror(error) + ".\r\n");
    expect_reconnecting();
    expect_unconnected();
    EXPECT_EQ(1, state());
    aaa_agent_finish();
  }
}

TEST_F(AgentRead, AnotherHeaderErrorLeavesTheSocketUnwatched) {
  init_and_connect();
  const OpenGate gate;
  const LogCapture log;
  EXPECT_EQ(0, read_failing(ENOBUFS));
  expect_line(log, "aaa_lib_agent_read", "receive error with error No buffer space available.\r\n");
  EXPECT_EQ(0u, log.count(start_again_line));
  expect_unwatched();
}

TEST_F(AgentRead, AnotherBodyErrorLeavesTheSocketUnwatched) {
  init_and_connect();
  const OpenGate gate;
  const LogCapture log;
  send(AAA_MSG_NOTIFY_RESULT, Bytes(33));
  EXPECT_EQ(0, read_failing(ENOBUFS, 16));
  EXPECT_THAT(log.lines(), IsEmpty());
  expect_unwatched();
}

TEST_F(AgentRead, ALinkThatEndsInsideABodyIsGivenUp) {
  init_and_connect();
  const std::uint32_t blocks = live_blocks();
  Bytes bytes = aaa_sim::to_bytes(aaa_sim::make_frame(AAA_MSG_NOTIFY_RESULT, 0, Bytes(50)));
  bytes.resize(30);
  send_raw(bytes);
  lose_link();
  EXPECT_EQ(blocks, live_blocks());
  expect_link_given_up();
}

TEST_F(AgentRead, WithoutMemoryForABodyTheSocketIsUnwatched) {
  init_and_connect();
  const OpenGate gate;
  const LogCapture log;
  send(AAA_MSG_NOTIFY_RESULT, Bytes(333));
  const ScriptedCalls calls({.malloc = [](std::size_t size) -> std::optional<void*> {
    return size == 334 ? std::optional<void*>(nullptr) : std::nullopt;
  }});
  EXPECT_EQ(0, read());
  expect_line(log, "aaa_lib_agent_read", "out of memory.\r\n");
  EXPECT_EQ(1u, log.lines().size());
  expect_unwatched();
}

TEST_F(AgentRead, ALengthBeyondAllMemoryLeavesTheSocketUnwatched) {
  init_and_connect();
  const OpenGate gate;
  const LogCapture log;
  Bytes header = aaa_sim::to_bytes(aaa_sim::make_frame(AAA_MSG_NOTIFY_RESULT, 0, {}));
  std::memset(header.data() + 12, 0xff, 4);
  send_raw(header);
  EXPECT_EQ(0, read());
  expect_line(log, "aaa_lib_agent_read", "out of memory.\r\n");
  expect_unwatched();
}

TEST_F(AgentRead, MessagesOnAnUnwatchedSocketWaitUntilTheHeartbeatFails) {
  init_and_connect();
  EXPECT_EQ(0, read_failing(ENOBUFS));
  send(AAA_MSG_MLIST_CHANGE);
  for (int minute = 0; minute < 3; ++minute) {
    clock_.advance(60);
    run("aaa-heartbeat");
    expect_unwatched();
  }
  clock_.advance(60);
  run("aaa-heartbeat");
  expect_link_given_up();
  EXPECT_EQ(0, run("aaa-reconnect"));
  EXPECT_THAT(client_events(), ElementsAre(1, 0, 1));
  expect_steady();
}

TEST_F(AgentRead, AfterDeregistrationAnErrorEndsItAll) {
  for (const int error : {EPIPE, ENOBUFS}) {
    init_and_connect();
    aaa::store(g_aaa_client_cb.aaa_id, -1);
    const LogCapture log;
    EXPECT_EQ(0, read_failing(error));
    EXPECT_EQ(0u, log.count(start_again_line));
    EXPECT_EQ(1, state());
    EXPECT_THAT(loop_.names(), ElementsAre("aaa-heartbeat"));
    EXPECT_LT(0, event_socket()) << "the sockets are left alone";
    aaa::set_reg_state(AAA_REG_REGISTERED);
    aaa_agent_finish();
  }
}

TEST_F(AgentRead, AClientThatDeregistersInACallbackHasNoSocketToWatch) {
  init_and_connect(client_that([](std::uint32_t event) {
    if (event == AAA_EVENT_METHOD_LISTS_CHANGED) aaa_svr_dereg();
  }));
  deliver(AAA_MSG_MLIST_CHANGE);
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-heartbeat"));
  EXPECT_EQ(0u, clock_.sleeps());
}

TEST_F(AgentRead, AClientThatClosesTheEventSocketInACallbackHasNoneToWatch) {
  init_and_connect(client_that([](std::uint32_t event) {
    if (event == AAA_EVENT_METHOD_LISTS_CHANGED) aaalib_ipc_msg_proc_dereg_response();
  }));
  deliver(AAA_MSG_MLIST_CHANGE);
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-heartbeat"));
  clock_.advance(181);
  run("aaa-heartbeat");
  expect_reconnecting();
}

TEST_F(AgentRead, AThreadThatWaitsForAResultIsNotWokenByALoss) {
  init_and_connect();
  aaa::set_waiting_session(77);
  lose_link();
  run("aaa-reconnect");
  EXPECT_FALSE(a_result_waits());
  aaa::set_waiting_session(0);
  expect_steady();
}

TEST_F(AgentRead, AnnouncesTheLossOfTheLinkBeforeItIsClosed) {
  init_and_connect();
  std::vector<bool> announced;
  const ScriptedCalls calls({.close = [&](int fd) -> std::optional<int> {
    if (fd == g_aaa_client_cb.sync_fd) announced.push_back(aaa::link_is_lost());
    return std::nullopt;
  }});
  lose_link();
  EXPECT_THAT(announced, ElementsAre(true));
  run("aaa-reconnect");
  EXPECT_FALSE(aaa::link_is_lost());
}

TEST_F(AgentRead, AnnouncesNoLossAfterAnotherError) {
  init_and_connect();
  read_failing(ENOBUFS);
  EXPECT_FALSE(aaa::link_is_lost());
}

}  // namespace
}  // namespace test
