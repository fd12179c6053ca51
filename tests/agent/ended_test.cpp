// Tasks of an agent registration that deregistration alone has ended.
#include "agent/agent_client.h"

namespace test::agent_ended {

// The loop still holds the tasks of an agent registration; a receive thread serves the next one.
class EndedRegistration : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    init_and_connect();
    EXPECT_EQ(0, aaa_svr_dereg());
    EXPECT_THAT(loop_.names(), testing::UnorderedElementsAre("aaa-read", "aaa-heartbeat"));
    register_client();
    loop_.take_journal();
  }
};

TEST_F(EndedRegistration, ItsReadTaskLeavesTheNewEventSocketAlone) {
  int reads_of_the_loop = 0;
  const ScriptedCalls calls({.recv = noting([&, loop = pthread_self()] {
                               if (pthread_equal(pthread_self(), loop) != 0) ++reads_of_the_loop;
                             })});
  run("aaa-read");
  EXPECT_EQ(0, reads_of_the_loop);
  expect_journal({});
  take_pass();
}

TEST_F(EndedRegistration, ItsHeartbeatTaskSendsNothingAndIsNotScheduledAgain) {
  take_pass();
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_HEARTBEAT))) << "the receive thread's";
  run("aaa-heartbeat");
  EXPECT_NE(0u, aaa_get_session_id()) << "a later message on the same socket";
  EXPECT_EQ(1u, heartbeats());
  expect_journal({});
}

TEST_F(EndedRegistration, ItsHeartbeatTaskDoesNotDropTheNewConnection) {
  aaa::store(aaalib_hbt_last_recv, library_seconds() - 182);
  aaa::store(g_aaa_client_cb.aaa_id, 0);
  run("aaa-heartbeat");
  EXPECT_EQ(4, state());
  expect_journal({});
}

class EndedAlone : public AgentTest {};

TEST_F(EndedAlone, ItsTasksDoNothing) {
  init_and_connect();
  EXPECT_EQ(0, aaa_svr_dereg());
  loop_.take_journal();
  const OpenLog log;
  run("aaa-read");
  run("aaa-heartbeat");
  EXPECT_THAT(log.lines(), IsEmpty());
  expect_journal({});
}

class EndedBeforeItsConnection : public AgentTest {};

TEST_F(EndedBeforeItsConnection, TheConnectTaskDoesNothingMore) {
  init();
  EXPECT_EQ(0, aaa_svr_dereg());
  run("aaa-connect");
  expect_nothing_scheduled();
  EXPECT_EQ(0u, sim_.accepted_connections());
  EXPECT_THAT(client_events(), IsEmpty());
}

TEST_F(EndedBeforeItsConnection, TheReconnectTaskRaisesNoEvent) {
  init_and_connect();
  lose_aaad();
  EXPECT_EQ(0, aaa_svr_dereg());
  run("aaa-reconnect");
  expect_nothing_scheduled();
  EXPECT_THAT(client_events(), ElementsAre(1));
}

}  // namespace test::agent_ended
