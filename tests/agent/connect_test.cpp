// The tasks "aaa-connect" and "aaa-reconnect".
#include "agent/agent_client.h"
#include "support/locked_state.h"

namespace test::agent_connect {

class AgentConnect : public AgentTest {
 protected:
  // Runs the task, which must fail, and checks what it leaves.
  void expect_failure() {
    init();
    const OpenLog log;
    loop_.take_journal();
    run_and_expect(-1, "aaa-connect");
    expect_line(log, "aaa_lib_agent_connect", kStartLine);
    expect_journal({"add aaa-reconnect"});
    expect_reconnecting();
    EXPECT_EQ(3, loop_.task("aaa-reconnect").number);
    expect_unconnected();
    EXPECT_EQ(1, state());
    EXPECT_THAT(client_events(), IsEmpty());
  }
};

TEST_F(AgentConnect, RegistersBothSocketsTellsEvent1AndThenWatches) {
  init(client_that_at(AAA_EVENT_REGISTERED, [this] { EXPECT_THAT(loop_.names(), IsEmpty()); }));
  loop_.take_journal();
  run_and_expect(0, "aaa-connect");
  EXPECT_EQ(4, state());
  EXPECT_EQ(1, aaa_is_alive());
  EXPECT_TRUE(sim_.wait_for_clients(1));
  EXPECT_EQ(1u, sim_.count(received(AAA_MSG_REGISTER_REQ, Role::request)));
  EXPECT_EQ(1u, sim_.count(received(AAA_MSG_REGISTER_REQ, Role::event)));
  EXPECT_THAT(client_events(), ElementsAre(1));
  expect_journal({"add aaa-read", "add aaa-heartbeat"});
  expect_steady();
  EXPECT_EQ(60, loop_.task("aaa-heartbeat").number);
  EXPECT_EQ(nullptr, aaa::g_agent_connect_ev) << "its own handle";
  EXPECT_NE(nullptr, aaa::g_agent_read_ev);
  EXPECT_NE(nullptr, aaa::g_agent_hbt_tmr);
}

TEST_F(AgentConnect, WithoutAaadItIsTriedAgainIn3Seconds) {
  set_listening(false);
  expect_failure();
}

TEST_F(AgentConnect, AFailureOfEitherExchangeClosesBothSockets) {
  for (const Role role : {Role::request, Role::event}) {
    sim_.set_fault(role, AAA_MSG_REGISTER_REQ, Fault::wrong_type);
    expect_failure();
    EXPECT_TRUE(sim_.wait_for_connections(0));
    aaa_agent_finish();
    sim_.set_fault(role, AAA_MSG_REGISTER_REQ, Fault::none);
  }
}

TEST_F(AgentConnect, ARefusedClientTriesAgain) {
  sim_.change([](Settings& settings) { settings.aaa_id = aaa_sim::kRefused; });
  expect_failure();
  sim_.change([](Settings& settings) { settings.aaa_id = 7; });
  run_and_expect(0, "aaa-reconnect");
  EXPECT_EQ(7, g_aaa_client_cb.aaa_id);
  expect_steady();
}

TEST_F(AgentConnect, TheRecordNeedNotLiveUntilThen) {
  {
    const reg_info info = client();
    init(info);
  }
  run_and_expect(0, "aaa-connect");
  expect_steady();
}

TEST_F(AgentConnect, AClientThatFinishesInEvent1IsNotWatched) {
  init(client_that_at(AAA_EVENT_REGISTERED, aaa_agent_finish));
  run_and_expect(0, "aaa-connect");
  expect_nothing_scheduled();
  EXPECT_THAT(client_events(), ElementsAre(1, 0));
}

TEST_F(AgentConnect, AClientThatDeregistersInEvent1HasNothingScheduled) {
  init(client_that_at(AAA_EVENT_REGISTERED, aaa_svr_dereg));
  run_and_expect(0, "aaa-connect");
  expect_nothing_scheduled();
  EXPECT_EQ(0u, clock_.sleeps());
}

TEST_F(AgentConnect, AClientThatStartsAnewInEvent1IsConnectedOnce) {
  init(client_that_at(AAA_EVENT_REGISTERED, [this] {
    aaa_agent_finish();
    init();
  }));
  run_and_expect(0, "aaa-connect");
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-connect"));
  run_and_expect(0, "aaa-connect");
  expect_steady();
}

class AgentReconnect : public AgentTest {
 protected:
  void expect_failed_attempt() {
    run_and_expect(-1, "aaa-reconnect");
    expect_reconnecting();
    EXPECT_EQ(3, loop_.task("aaa-reconnect").number);
    expect_unconnected();
    EXPECT_EQ(5, state());
  }
};

TEST_F(AgentReconnect, TellsTheLossThenTheRegistrationAndThenWatches) {
  init_and_connect();
  lose_link();
  EXPECT_THAT(client_events(), ElementsAre(1)) << "the read has told it";
  loop_.take_journal();
  run_and_expect(0, "aaa-reconnect");
  EXPECT_THAT(client_events(), ElementsAre(1, 0, 1)) << "not 2";
  expect_journal({"add aaa-read", "add aaa-heartbeat"});
  expect_steady();
  EXPECT_EQ(nullptr, aaa::g_agent_reconnect_tmr);
  EXPECT_EQ(4, state());
  EXPECT_TRUE(sim_.wait_for_clients(1));
}

TEST_F(AgentReconnect, TriesEvery3SecondsWithoutLimitAndTellsTheLossOnceWithoutALine) {
  init_and_connect();
  lose_aaad();
  EXPECT_EQ(1, state());
  const OpenLog log;
  for (int i = 0; i < 50; ++i)
    expect_failed_attempt();
  EXPECT_EQ(0u, log.count(kStartLine));
  EXPECT_THAT(client_events(), ElementsAre(1, 0));
  aaad_returns();
  run_and_expect(0, "aaa-reconnect");
  EXPECT_THAT(client_events(), ElementsAre(1, 0, 1));
  expect_steady();
}

TEST_F(AgentReconnect, AFirstConnectionThatFailedIsALossToo) {
  set_listening(false);
  init();
  run_and_expect(-1, "aaa-connect");
  EXPECT_THAT(client_events(), IsEmpty());
  for (int i = 0; i < 2; ++i) {
    expect_failed_attempt();
    EXPECT_THAT(client_events(), ElementsAre(0));
  }
  aaad_returns();
  run_and_expect(0, "aaa-reconnect");
  EXPECT_THAT(client_events(), ElementsAre(0, 1));
}

TEST_F(AgentReconnect, EventsAreToldWithoutALock) {
  init_and_connect(client_that([](std::uint32_t event) {
    // Deregistration tells event 0 under the lock.
    EXPECT_TRUE(is_free(aaa_lib_lock) ||
                (event == AAA_EVENT_CONNECTION_LOST && aaa::reg_state() == AAA_REG_NOT_REGISTERED));
  }));
  lose_aaad();
  run("aaa-reconnect");
  aaad_returns();
  run("aaa-reconnect");
  EXPECT_THAT(client_events(), ElementsAre(1, 0, 1));
}

TEST_F(AgentReconnect, ADeregisteredClientIsNotTriedAgain) {
  init_and_connect();
  lose_aaad();
  aaa::store(g_aaa_client_cb.aaa_id, -1);
  run_and_expect(0, "aaa-reconnect");
  expect_nothing_scheduled();
  expect_unconnected();
  EXPECT_NE(5, state());
  test::set_reg_state(AAA_REG_NOT_REGISTERED);
}

TEST_F(AgentReconnect, AClientThatFinishesInEvent0IsNotConnected) {
  init_and_connect(client_that_at(AAA_EVENT_CONNECTION_LOST, aaa_agent_finish));
  lose_link();
  run_and_expect(0, "aaa-reconnect");
  expect_nothing_scheduled();
  expect_unconnected();
  EXPECT_EQ(2u, sim_.accepted_connections());
}

TEST_F(AgentReconnect, AClientThatFinishesInEvent1IsNotWatched) {
  init_and_connect(client_that([](std::uint32_t event) {
    if (event == AAA_EVENT_REGISTERED && times_told(event) == 2) aaa_agent_finish();
  }));
  lose_link();
  run_and_expect(0, "aaa-reconnect");
  expect_nothing_scheduled();
  expect_unconnected();
  EXPECT_THAT(client_events(), ElementsAre(1, 0, 1, 0));
}

TEST_F(AgentReconnect, AHundredLossesAreAHundredPairsOfEvents) {
  init_and_connect();
  std::vector<std::uint32_t> expected = {1};
  for (int i = 0; i < 100; ++i) {
    lose_link();
    run_and_expect(0, "aaa-reconnect");
    expect_steady();
    expected.insert(expected.end(), {0, 1});
  }
  EXPECT_EQ(expected, client_events());
}

TEST_F(AgentReconnect, AHundredRestartsAreAHundredPairsOfEvents) {
  init_and_connect();
  for (int i = 0; i < 100; ++i) {
    sim_.stop();
    read();
    run_and_expect(-1, "aaa-reconnect");
    expect_reconnecting();
    sim_.start();
    run_and_expect(0, "aaa-reconnect");
    expect_steady();
  }
  EXPECT_EQ(101u, times_told(AAA_EVENT_REGISTERED));
  EXPECT_EQ(100u, times_told(AAA_EVENT_CONNECTION_LOST));
  EXPECT_EQ(0u, times_told(AAA_EVENT_REREGISTERED));
}

}  // namespace test::agent_connect
