// aaa_lib_thread_event: how each task is scheduled.
#include "agent/agent_client.h"
#include "runtime/agent/agent_tasks.h"
#include "session/state/client_state.h"
#include "support/expected_line.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ThreadEvent : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    aaa::g_agent_master = loop_.master();
    aaa::set_model_name("test");
  }

  void expect_refusal_logged(std::int32_t event, const std::string& message) {
    const OpenGate gate;
    const LogCapture log;
    loop_.refuse(1);
    EXPECT_EQ(-1, aaa_lib_thread_event(event, nullptr, 7));
    expect_line(log, "aaa_lib_thread_event", message);
    expect_nothing_scheduled();
  }
};

TEST_F(ThreadEvent, Event0IsTheConnectionWithTheGivenArgument) {
  int argument = 0;
  EXPECT_EQ(0, aaa_lib_thread_event(0, &argument, 7));
  EXPECT_THAT(loop_.tasks(),
              ElementsAre(AddedTask{"event", loop_.master(), aaa::aaa_lib_agent_connect, &argument,
                                    0, "aaa-connect"}));
  EXPECT_NE(nullptr, aaa::g_agent_connect_ev);
}

TEST_F(ThreadEvent, Event1IsTheReconnectionAfter3Seconds) {
  int argument = 0;
  EXPECT_EQ(0, aaa_lib_thread_event(1, &argument, 7));
  EXPECT_THAT(loop_.tasks(),
              ElementsAre(AddedTask{"timer", loop_.master(), aaa::aaa_lib_agent_reconnect, nullptr,
                                    3, "aaa-reconnect"}));
  EXPECT_NE(nullptr, aaa::g_agent_reconnect_tmr);
}

TEST_F(ThreadEvent, Event2IsTheReadOfTheGivenDescriptor) {
  int argument = 0;
  EXPECT_EQ(0, aaa_lib_thread_event(2, &argument, 7));
  EXPECT_THAT(loop_.tasks(),
              ElementsAre(AddedTask{"read_high", loop_.master(), aaa::aaa_lib_agent_read, nullptr,
                                    7, "aaa-read"}));
  EXPECT_NE(nullptr, aaa::g_agent_read_ev);
}

TEST_F(ThreadEvent, Event3IsTheHeartbeatAfter60Seconds) {
  int argument = 0;
  EXPECT_EQ(0, aaa_lib_thread_event(3, &argument, 7));
  EXPECT_THAT(loop_.tasks(),
              ElementsAre(AddedTask{"timer", loop_.master(), aaa::aaa_lib_agent_heartbeat, nullptr,
                                    60, "aaa-heartbeat"}));
  EXPECT_NE(nullptr, aaa::g_agent_hbt_tmr);
}

TEST_F(ThreadEvent, ARefusalIsLoggedByEvent) {
  expect_refusal_logged(0, "Failed to add thread for aaa_lib_connect\r\n");
  expect_refusal_logged(1, "Failed to add thread for aaa_lib_reconnect\r\n");
  expect_refusal_logged(2, "Failed to add thread for aaa_lib_read\r\n");
  expect_refusal_logged(3, "Failed to add thread for aaa_lib_heartbeat\r\n");
}

TEST_F(ThreadEvent, ARefusalIsNotLoggedBehindAClosedGate) {
  const LogCapture log;
  loop_.refuse(1);
  EXPECT_EQ(-1, aaa_lib_thread_event(1, nullptr, 0));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ThreadEvent, ItTriesOnceAndDoesNotSleep) {
  loop_.refuse(5);
  EXPECT_EQ(-1, aaa_lib_thread_event(3, nullptr, 0));
  EXPECT_EQ(1u, loop_.refused());
  EXPECT_EQ(0u, clock_.sleeps());
  loop_.refuse(0);
}

TEST_F(ThreadEvent, AnUnknownEventIsLoggedAndReturns0) {
  for (const std::int32_t event : {4, -1, 99}) {
    const OpenGate gate;
    const LogCapture log;
    EXPECT_EQ(0, aaa_lib_thread_event(event, nullptr, 0));
    expect_line(log, "aaa_lib_thread_event",
                "unknown lib thread event(" + std::to_string(event) + ").\r\n");
    expect_nothing_scheduled();
  }
}

TEST_F(ThreadEvent, WithoutAMasterNothingIsScheduled) {
  aaa::g_agent_master = nullptr;
  for (const std::int32_t event : {0, 1, 2, 3})
    EXPECT_EQ(-1, aaa_lib_thread_event(event, nullptr, 7)) << event;
  expect_nothing_scheduled();
}

TEST_F(ThreadEvent, ATaskScheduledTwiceWaitsOnce) {
  for (const std::int32_t event : {0, 1, 2, 3}) {
    EXPECT_EQ(0, aaa_lib_thread_event(event, nullptr, 7));
    EXPECT_EQ(0, aaa_lib_thread_event(event, nullptr, 8));
  }
  EXPECT_THAT(loop_.names(),
              ElementsAre("aaa-connect", "aaa-reconnect", "aaa-read", "aaa-heartbeat"));
  EXPECT_EQ(8, loop_.task("aaa-read").number);
}

TEST_F(ThreadEvent, ARefusalKeepsTheTaskThatWaits) {
  EXPECT_EQ(0, aaa_lib_thread_event(3, nullptr, 0));
  loop_.refuse(1);
  EXPECT_EQ(-1, aaa_lib_thread_event(3, nullptr, 0));
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-heartbeat"));
  EXPECT_NE(nullptr, aaa::g_agent_hbt_tmr);
}

}  // namespace
}  // namespace test
