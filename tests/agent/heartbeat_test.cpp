// The task "aaa-heartbeat".
#include "runtime/receive/recovery.h"

#include "agent/agent_client.h"

namespace test::agent_heartbeat {

class AgentHeartbeat : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    init_and_connect();
  }
  // What the task did, with the steady state after it.
  void beat() {
    loop_.take_journal();
    run_and_expect(0, "aaa-heartbeat");
    expect_journal({"add aaa-heartbeat"});
    expect_steady();
    EXPECT_EQ(60, loop_.task("aaa-heartbeat").number);
    EXPECT_EQ(4, state());
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

TEST_F(AgentHeartbeat, SendsOneOnTheRequestSocketEachTime) {
  beat();
  const auto heartbeat = sim_.wait_for_message(received(AAA_MSG_HEARTBEAT));
  ASSERT_TRUE(heartbeat);
  EXPECT_EQ(Role::request, heartbeat->role);
  EXPECT_EQ(word_bytes({0x01010101, 0, 132, 0}), bytes_of(*heartbeat));
  EXPECT_NEAR(library_seconds(), aaalib_hbt_last_send, 1);
  beat();
  beat();
  expect_heartbeats(3);
}

TEST_F(AgentHeartbeat, ClearsItsOwnHandleFirst) {
  loop_.refuse(1, [] { EXPECT_EQ(nullptr, aaa::g_agent_hbt_tmr); });
  run("aaa-heartbeat");
  EXPECT_EQ(1u, loop_.refused());
  EXPECT_NE(nullptr, aaa::g_agent_hbt_tmr);
}

TEST_F(AgentHeartbeat, MoreThan180SecondsOfSilenceAreALossAndNoHeartbeatIsSent) {
  aaa::store(aaalib_hbt_last_recv, library_seconds() - 180);
  beat();
  expect_heartbeats(1);
  const OpenLog log;
  aaa::store(aaalib_hbt_last_recv, library_seconds() - 182);
  aaa::store(aaalib_hbt_last_send, 9U);
  run_and_expect(0, "aaa-heartbeat");
  expect_journal({"cancel aaa-read", "add aaa-reconnect"});
  expect_reconnecting();
  expect_unconnected();
  expect_rearmed();
  EXPECT_EQ(1, state());
  expect_line(log, "aaa_lib_agent_heartbeat", kStartLine);
  EXPECT_EQ(0u, log.count("aaalib heartbeat check fail!\r\n"));
  EXPECT_THAT(client_events(), ElementsAre(1));
  run_and_expect(0, "aaa-reconnect");
  EXPECT_THAT(client_events(), ElementsAre(1, 0, 1));
  expect_heartbeats(1);
  expect_steady();
}

TEST_F(AgentHeartbeat, AnAnswerFromAaadEndsTheSilence) {
  clock_.advance(179);
  deliver(AAA_MSG_HEARTBEAT);
  clock_.advance(179);
  beat();
}

TEST_F(AgentHeartbeat, ALossWithADeadAaadCancelsEverything) {
  schedule_all_others();
  clock_.advance(182);
  run("aaa-heartbeat");
  expect_journal({"cancel aaa-connect", "cancel aaa-reconnect", "cancel aaa-read", "cancel spare",
                  "add aaa-reconnect"});
  expect_reconnecting();
}

TEST_F(AgentHeartbeat, WithoutAnIdInRangeNothingIsSentAndTheSilenceStartsAnew) {
  for (const std::int32_t id : {0, 200, 201, -1}) {
    SCOPED_TRACE(id);
    set_id(id, 200);
    aaa::store(aaalib_hbt_last_send, 9U);
    clock_.advance(1000);
    beat();
    expect_rearmed();
  }
  expect_heartbeats(0);
}

TEST_F(AgentHeartbeat, TheRangeIsFrom1ToBelowTheLimitWhichIsSigned) {
  set_id(1, 0x80000000);
  beat();
  expect_heartbeats(0);
  for (const std::int32_t id : {1, 199}) {
    set_id(id, 200);
    beat();
  }
  expect_heartbeats(2);
}

TEST_F(AgentHeartbeat, AFailedSendIsNotLookedAt) {
  const ScriptedCalls calls({.send = failing(EPIPE)});
  beat();
  EXPECT_NEAR(library_seconds(), aaalib_hbt_last_send, 1);
}

}  // namespace test::agent_heartbeat
