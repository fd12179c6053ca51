// The task "aaa-connect".
#include "agent/agent_client.h"
#include "runtime/agent/agent_tasks.h"
#include "support/expected_line.h"

namespace test {
namespace {

using aaa_sim::Fault;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char start_again[] = "aaa client start to try re-reg.\r\n";

class AgentConnect : public AgentTest {
 protected:
  // Runs the task, which must fail, and checks what it leaves.
  void expect_failure() {
    const OpenGate gate;
    const LogCapture log;
    loop_.take_journal();
    EXPECT_EQ(-1, run("aaa-connect"));
    expect_line(log, "aaa_lib_agent_connect", start_again);
    EXPECT_THAT(loop_.take_journal(), ElementsAre("add aaa-reconnect"));
    expect_reconnecting();
    expect_unconnected();
    EXPECT_EQ(1, state());
    EXPECT_THAT(client_events(), IsEmpty());
  }
};

TEST_F(AgentConnect, RegistersBothSockets) {
  init();
  EXPECT_EQ(0, run("aaa-connect"));
  EXPECT_EQ(4, state());
  EXPECT_EQ(1, aaa_is_alive());
  EXPECT_TRUE(sim_.wait_for_clients(1));
  EXPECT_EQ(1u, sim_.count(received(AAA_MSG_REGISTER_REQ, Role::request)));
  EXPECT_EQ(1u, sim_.count(received(AAA_MSG_REGISTER_REQ, Role::event)));
}

TEST_F(AgentConnect, TellsEvent1ThenWatchesTheEventSocketThenTheHeartbeat) {
  init(client_that([this](std::uint32_t event) {
    if (event == AAA_EVENT_REGISTERED) {
      EXPECT_THAT(loop_.names(), IsEmpty());
    }
  }));
  loop_.take_journal();
  run("aaa-connect");
  EXPECT_THAT(client_events(), ElementsAre(1));
  EXPECT_THAT(loop_.take_journal(), ElementsAre("add aaa-read", "add aaa-heartbeat"));
  expect_steady();
  EXPECT_EQ(60, loop_.task("aaa-heartbeat").number);
}

TEST_F(AgentConnect, ClearsItsOwnHandle) {
  init();
  run("aaa-connect");
  EXPECT_EQ(nullptr, aaa::g_agent_connect_ev);
  EXPECT_NE(nullptr, aaa::g_agent_read_ev);
  EXPECT_NE(nullptr, aaa::g_agent_hbt_tmr);
}

TEST_F(AgentConnect, WithoutAaadItIsTriedAgainIn3Seconds) {
  set_listening(false);
  init();
  expect_failure();
  EXPECT_EQ(3, loop_.task("aaa-reconnect").number);
}

TEST_F(AgentConnect, AFailureOfEitherExchangeClosesBothSockets) {
  for (const Role role : {Role::request, Role::event}) {
    sim_.set_fault(role, AAA_MSG_REGISTER_REQ, Fault::wrong_type);
    init();
    expect_failure();
    EXPECT_TRUE(sim_.wait_for_connections(0));
    aaa_agent_finish();
    sim_.set_fault(role, AAA_MSG_REGISTER_REQ, Fault::none);
  }
}

TEST_F(AgentConnect, ARefusedClientTriesAgain) {
  sim_.change([](Settings& settings) { settings.aaa_id = aaa_sim::kRefused; });
  init();
  expect_failure();
  sim_.change([](Settings& settings) { settings.aaa_id = 7; });
  EXPECT_EQ(0, run("aaa-reconnect"));
  EXPECT_EQ(7, g_aaa_client_cb.aaa_id);
  expect_steady();
}

TEST_F(AgentConnect, TheRecordNeedNotLiveUntilThen) {
  {
    const reg_info info = client();
    init(info);
  }
  EXPECT_EQ(0, run("aaa-connect"));
  expect_steady();
}

TEST_F(AgentConnect, AClientThatFinishesInEvent1IsNotWatched) {
  init(client_that([](std::uint32_t event) {
    if (event == AAA_EVENT_REGISTERED) aaa_agent_finish();
  }));
  EXPECT_EQ(0, run("aaa-connect"));
  expect_nothing_scheduled();
  EXPECT_THAT(client_events(), ElementsAre(1, 0));
}

TEST_F(AgentConnect, AClientThatDeregistersInEvent1HasNothingScheduled) {
  init(client_that([](std::uint32_t event) {
    if (event == AAA_EVENT_REGISTERED) aaa_svr_dereg();
  }));
  EXPECT_EQ(0, run("aaa-connect"));
  expect_nothing_scheduled();
  EXPECT_EQ(0u, clock_.sleeps());
}

TEST_F(AgentConnect, AClientThatStartsAnewInEvent1IsConnectedOnce) {
  init(client_that([this](std::uint32_t event) {
    if (event != AAA_EVENT_REGISTERED || times_told(AAA_EVENT_REGISTERED) > 1) return;
    aaa_agent_finish();
    init();
  }));
  EXPECT_EQ(0, run("aaa-connect"));
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-connect"));
  EXPECT_EQ(0, run("aaa-connect"));
  expect_steady();
}

}  // namespace
}  // namespace test
