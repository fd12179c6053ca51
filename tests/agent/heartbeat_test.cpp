// The task "aaa-heartbeat".
#include "runtime/receive/heartbeat.h"

#include <cerrno>

#include "agent/agent_client.h"
#include "runtime/agent/agent_tasks.h"
#include "session/state/client_state.h"
#include "support/expected_line.h"

namespace test {
namespace {

using testing::ElementsAre;

class AgentHeartbeat : public AgentTest {
 protected:
  // What the task did, with the steady state after it.
  void beat() {
    loop_.take_journal();
    EXPECT_EQ(0, run("aaa-heartbeat"));
    EXPECT_THAT(loop_.take_journal(), ElementsAre("add aaa-heartbeat"));
    expect_steady();
    EXPECT_EQ(60, loop_.task("aaa-heartbeat").number);
  }
  void expect_heartbeats(std::size_t count) {
    if (count > 0) {
      EXPECT_TRUE(
          sim_.wait_for_message(received(AAA_MSG_HEARTBEAT), std::chrono::seconds(5), count - 1));
    }
    // Whatever was sent before an exchange has arrived after it.
    EXPECT_NE(0u, aaa_get_session_id());
    EXPECT_EQ(count, heartbeats());
  }
  void expect_rearmed() {
    EXPECT_EQ(0u, aaalib_hbt_last_send);
    EXPECT_NEAR(library_seconds(), aaalib_hbt_last_recv, 1);
  }
  void set_id(std::int32_t id, std::uint32_t limit) {
    aaa::store(g_aaa_client_cb.aaa_id, id);
    aaa::store(g_aaa_status.aaa_id_limit, limit);
  }
};

TEST_F(AgentHeartbeat, SendsOneOnTheRequestSocket) {
  init_and_connect();
  beat();
  const auto heartbeat = sim_.wait_for_message(received(AAA_MSG_HEARTBEAT));
  ASSERT_TRUE(heartbeat);
  EXPECT_EQ(Role::request, heartbeat->role);
  EXPECT_EQ((Bytes{1, 1, 1, 1, 0, 0, 0, 0, 132, 0, 0, 0, 0, 0, 0, 0}), heartbeat->bytes);
  EXPECT_NEAR(library_seconds(), aaalib_hbt_last_send, 1);
}

TEST_F(AgentHeartbeat, ItsSpacingComesFromTheTimerAlone) {
  init_and_connect();
  beat();
  beat();
  beat();
  expect_heartbeats(3);
}

TEST_F(AgentHeartbeat, ClearsItsOwnHandleFirst) {
  init_and_connect();
  loop_.refuse(1, [] { EXPECT_EQ(nullptr, aaa::g_agent_hbt_tmr); });
  run("aaa-heartbeat");
  EXPECT_EQ(1u, loop_.refused());
  EXPECT_NE(nullptr, aaa::g_agent_hbt_tmr);
}

TEST_F(AgentHeartbeat, MoreThan180SecondsOfSilenceAreALoss) {
  init_and_connect();
  aaa::store(aaalib_hbt_last_recv, library_seconds() - 180);
  beat();
  const OpenGate gate;
  const LogCapture log;
  aaa::store(aaalib_hbt_last_recv, library_seconds() - 182);
  aaa::store(aaalib_hbt_last_send, 9U);
  EXPECT_EQ(0, run("aaa-heartbeat"));
  EXPECT_THAT(loop_.take_journal(), ElementsAre("cancel aaa-read", "add aaa-reconnect"));
  expect_reconnecting();
  expect_unconnected();
  expect_rearmed();
  EXPECT_EQ(1, state());
  expect_line(log, "aaa_lib_agent_heartbeat", "aaa client start to try re-reg.\r\n");
  EXPECT_EQ(0u, log.count("aaalib heartbeat check fail!\r\n"));
  EXPECT_THAT(client_events(), ElementsAre(1));
}

TEST_F(AgentHeartbeat, NoHeartbeatIsSentOnALostLink) {
  init_and_connect();
  aaa::store(aaalib_hbt_last_recv, library_seconds() - 182);
  run("aaa-heartbeat");
  EXPECT_EQ(0, run("aaa-reconnect"));
  EXPECT_THAT(client_events(), ElementsAre(1, 0, 1));
  expect_heartbeats(0);
  expect_steady();
}

TEST_F(AgentHeartbeat, AnAnswerFromAaadEndsTheSilence) {
  init_and_connect();
  clock_.advance(179);
  deliver(AAA_MSG_HEARTBEAT);
  clock_.advance(179);
  beat();
  EXPECT_EQ(4, state());
}

TEST_F(AgentHeartbeat, ALossWithADeadAaadCancelsEverything) {
  init_and_connect();
  aaa_lib_thread_event(0, nullptr, 0);
  aaa_lib_thread_event(1, nullptr, 0);
  aaa::g_agent_spare_ev =
      zv_thread_add_event_withname(loop_.master(), aaa::aaa_lib_agent_read, nullptr, 0, "spare");
  loop_.take_journal();
  clock_.advance(182);
  run("aaa-heartbeat");
  EXPECT_THAT(loop_.take_journal(),
              ElementsAre("cancel aaa-connect", "cancel aaa-reconnect", "cancel aaa-read",
                          "cancel spare", "add aaa-reconnect"));
  expect_reconnecting();
}

TEST_F(AgentHeartbeat, WithoutAnIdInRangeNothingIsSentAndTheSilenceStartsAnew) {
  init_and_connect();
  for (const std::int32_t id : {0, 200, 201, -1}) {
    set_id(id, 200);
    aaa::store(aaalib_hbt_last_send, 9U);
    clock_.advance(1000);
    beat();
    expect_rearmed();
    EXPECT_EQ(4, state()) << id;
  }
  expect_heartbeats(0);
}

TEST_F(AgentHeartbeat, TheRangeIsFrom1ToBelowTheLimit) {
  init_and_connect();
  for (const std::int32_t id : {1, 199}) {
    set_id(id, 200);
    beat();
  }
  expect_heartbeats(2);
}

TEST_F(AgentHeartbeat, TheLimitIsSigned) {
  init_and_connect();
  set_id(1, 0x80000000);
  beat();
  expect_heartbeats(0);
}

TEST_F(AgentHeartbeat, AFailedSendIsNotLookedAt) {
  init_and_connect();
  const ScriptedCalls calls(
      {.send = [](int, const void*, std::size_t, int) -> std::optional<ssize_t> {
        errno = EPIPE;
        return -1;
      }});
  beat();
  EXPECT_EQ(4, state());
  EXPECT_NEAR(library_seconds(), aaalib_hbt_last_send, 1);
}

}  // namespace
}  // namespace test
