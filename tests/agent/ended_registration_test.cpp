// Tasks of an agent registration that has ended, while the client is registered in another way.
#include "agent/agent_client.h"
#include "runtime/agent/agent_tasks.h"
#include "runtime/receive/receive_thread.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// The loop still holds the tasks of an agent registration; a receive thread serves the next one.
class EndedRegistration : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    init_and_connect();
    EXPECT_EQ(0, aaa_svr_dereg());
    EXPECT_THAT(loop_.names(), UnorderedElementsAre("aaa-read", "aaa-heartbeat"));
    register_client();
    loop_.take_journal();
  }
};

TEST_F(EndedRegistration, ItsReadTaskLeavesTheNewEventSocketAlone) {
  int reads_of_the_loop = 0;
  const pthread_t loop = pthread_self();
  const ScriptedCalls calls({.recv = [&](int, void*, std::size_t, int) -> std::optional<ssize_t> {
    if (pthread_equal(pthread_self(), loop) != 0) ++reads_of_the_loop;
    return std::nullopt;
  }});
  run("aaa-read");
  EXPECT_EQ(0, reads_of_the_loop);
  EXPECT_THAT(loop_.take_journal(), IsEmpty());
  take_pass();
}

TEST_F(EndedRegistration, ItsHeartbeatTaskSendsNothingAndIsNotScheduledAgain) {
  take_pass();
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_HEARTBEAT))) << "the receive thread's";
  run("aaa-heartbeat");
  EXPECT_NE(0u, aaa_get_session_id()) << "a later message on the same socket";
  EXPECT_EQ(1u, heartbeats());
  EXPECT_THAT(loop_.take_journal(), IsEmpty());
}

TEST_F(EndedRegistration, ItsHeartbeatTaskDoesNotDropTheNewConnection) {
  aaa::store(aaalib_hbt_last_recv, library_seconds() - 182);
  aaa::store(g_aaa_client_cb.aaa_id, 0);
  run("aaa-heartbeat");
  EXPECT_EQ(4, state());
  EXPECT_THAT(loop_.take_journal(), IsEmpty());
}

class EndedAlone : public AgentTest {};

TEST_F(EndedAlone, ItsTasksDoNothing) {
  init_and_connect();
  EXPECT_EQ(0, aaa_svr_dereg());
  loop_.take_journal();
  const OpenGate gate;
  const LogCapture log;
  run("aaa-read");
  run("aaa-heartbeat");
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_THAT(loop_.take_journal(), IsEmpty());
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

}  // namespace
}  // namespace test
