// The task "aaa-reconnect".
#include "agent/agent_client.h"
#include "runtime/agent/agent_tasks.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "support/lock_check.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AgentReconnect : public AgentTest {
 protected:
  void expect_failed_attempt() {
    EXPECT_EQ(-1, run("aaa-reconnect"));
    expect_reconnecting();
    EXPECT_EQ(3, loop_.task("aaa-reconnect").number);
    expect_unconnected();
    EXPECT_EQ(5, state());
  }
};

TEST_F(AgentReconnect, TellsTheLossThenTheRegistration) {
  init_and_connect();
  lose_link();
  EXPECT_THAT(client_events(), ElementsAre(1)) << "the read has told it";
  EXPECT_EQ(0, run("aaa-reconnect"));
  EXPECT_THAT(client_events(), ElementsAre(1, 0, 1)) << "not 2";
}

TEST_F(AgentReconnect, WatchesTheNewEventSocketThenTheHeartbeat) {
  init_and_connect();
  lose_link();
  loop_.take_journal();
  EXPECT_EQ(0, run("aaa-reconnect"));
  EXPECT_THAT(loop_.take_journal(), ElementsAre("add aaa-read", "add aaa-heartbeat"));
  expect_steady();
  EXPECT_EQ(nullptr, aaa::g_agent_reconnect_tmr);
  EXPECT_EQ(4, state());
  EXPECT_TRUE(sim_.wait_for_clients(1));
}

TEST_F(AgentReconnect, TriesEvery3SecondsWithoutLimitAndTellsTheLossOnce) {
  init_and_connect();
  lose_aaad();
  EXPECT_EQ(1, state());
  for (int i = 0; i < 50; ++i)
    expect_failed_attempt();
  EXPECT_THAT(client_events(), ElementsAre(1, 0));
  aaad_returns();
  EXPECT_EQ(0, run("aaa-reconnect"));
  EXPECT_THAT(client_events(), ElementsAre(1, 0, 1));
  expect_steady();
}

TEST_F(AgentReconnect, AFirstConnectionThatFailedIsALossToo) {
  set_listening(false);
  init();
  EXPECT_EQ(-1, run("aaa-connect"));
  EXPECT_THAT(client_events(), IsEmpty());
  expect_failed_attempt();
  EXPECT_THAT(client_events(), ElementsAre(0));
  expect_failed_attempt();
  EXPECT_THAT(client_events(), ElementsAre(0));
  aaad_returns();
  EXPECT_EQ(0, run("aaa-reconnect"));
  EXPECT_THAT(client_events(), ElementsAre(0, 1));
}

TEST_F(AgentReconnect, DoesNotWriteTheLineOfANewStart) {
  init_and_connect();
  lose_aaad();
  const OpenGate gate;
  const LogCapture log;
  run("aaa-reconnect");
  EXPECT_EQ(0u, log.count("aaa client start to try re-reg.\r\n"));
}

TEST_F(AgentReconnect, EventsAreToldWithoutALock) {
  init_and_connect(client_that([](std::uint32_t event) {
    // Deregistration tells event 0 under the lock.
    if (event == AAA_EVENT_REGISTERED || aaa::reg_state() != AAA_REG_NOT_REGISTERED) {
      EXPECT_TRUE(is_free(aaa_lib_lock));
    }
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
  EXPECT_EQ(0, run("aaa-reconnect"));
  expect_nothing_scheduled();
  expect_unconnected();
  EXPECT_NE(5, state());
  aaa::set_reg_state(AAA_REG_NOT_REGISTERED);
}

TEST_F(AgentReconnect, AClientThatFinishesInEvent0IsNotConnected) {
  init_and_connect(client_that([](std::uint32_t event) {
    if (event == AAA_EVENT_CONNECTION_LOST) aaa_agent_finish();
  }));
  lose_link();
  EXPECT_EQ(0, run("aaa-reconnect"));
  expect_nothing_scheduled();
  expect_unconnected();
  EXPECT_EQ(2u, sim_.accepted_connections());
}

TEST_F(AgentReconnect, AClientThatFinishesInEvent1IsNotWatched) {
  init_and_connect(client_that([](std::uint32_t event) {
    if (event == AAA_EVENT_REGISTERED && times_told(event) == 2) aaa_agent_finish();
  }));
  lose_link();
  EXPECT_EQ(0, run("aaa-reconnect"));
  expect_nothing_scheduled();
  expect_unconnected();
  EXPECT_THAT(client_events(), ElementsAre(1, 0, 1, 0));
}

TEST_F(AgentReconnect, AHundredLossesAreAHundredPairsOfEvents) {
  init_and_connect();
  std::vector<std::uint32_t> expected = {1};
  for (int i = 0; i < 100; ++i) {
    lose_link();
    EXPECT_EQ(0, run("aaa-reconnect"));
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
    EXPECT_EQ(-1, run("aaa-reconnect"));
    expect_reconnecting();
    sim_.start();
    EXPECT_EQ(0, run("aaa-reconnect"));
    expect_steady();
  }
  EXPECT_EQ(101u, times_told(AAA_EVENT_REGISTERED));
  EXPECT_EQ(100u, times_told(AAA_EVENT_CONNECTION_LOST));
  EXPECT_EQ(0u, times_told(AAA_EVENT_REREGISTERED));
}

}  // namespace
}  // namespace test
