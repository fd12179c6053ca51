// aaa_lib_thread_event: how each task is scheduled.
#include "agent/agent_client.h"
#include "support/locked_state.h"

namespace test::thread_event {

class ThreadEvent : public AgentTest {
 protected:
  ThreadEvent() {
    aaa::g_agent_master = loop_.master();
    test::set_model_name("test");
  }
  static zv_thread* const& handle(std::int32_t event) {
    zv_thread* const* const handles[] = {&aaa::g_agent_connect_ev, &aaa::g_agent_reconnect_tmr,
                                         &aaa::g_agent_read_ev, &aaa::g_agent_hbt_tmr};
    return *handles[event];
  }
};

TEST_F(ThreadEvent, EachEventHasItsTask) {
  int argument = 0;
  zv_thread_master* const master = loop_.master();
  const AddedTask tasks[] = {
      {"event", master, aaa::aaa_lib_agent_connect, &argument, 0, "aaa-connect"},
      {"timer", master, aaa::aaa_lib_agent_reconnect, nullptr, 3, "aaa-reconnect"},
      {"read_high", master, aaa::aaa_lib_agent_read, nullptr, 7, "aaa-read"},
      {"timer", master, aaa::aaa_lib_agent_heartbeat, nullptr, 60, "aaa-heartbeat"}};
  for (const std::int32_t event : {0, 1, 2, 3}) {
    EXPECT_EQ(0, aaa_lib_thread_event(event, &argument, 7));
    EXPECT_EQ(tasks[event], loop_.tasks().back()) << event;
    EXPECT_NE(nullptr, handle(event)) << event;
    EXPECT_EQ(static_cast<std::size_t>(event) + 1, loop_.tasks().size());
  }
}

TEST_F(ThreadEvent, ARefusalIsLoggedByEventAndTriedOnceWithoutASleep) {
  const char* const names[] = {"connect", "reconnect", "read", "heartbeat"};
  for (const std::int32_t event : {0, 1, 2, 3}) {
    for (const bool open : {true, false}) {
      aaa_set_debug_switch(open ? 1 : 0);
      const LogCapture log;
      loop_.refuse(5);
      EXPECT_EQ(-1, aaa_lib_thread_event(event, nullptr, 7));
      EXPECT_EQ(1u, loop_.refused());
      EXPECT_EQ(open ? 1u : 0u, log.lines().size());
      if (open)
        expect_line(log, "aaa_lib_thread_event",
                    std::string("Failed to add thread for aaa_lib_") + names[event] + "\r\n");
      expect_nothing_scheduled();
    }
  }
  EXPECT_EQ(0u, clock_.sleeps());
  loop_.refuse(0);
}

TEST_F(ThreadEvent, AnUnknownEventIsLoggedAndReturns0) {
  for (const std::int32_t event : {4, -1, 99}) {
    const OpenLog log;
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

}  // namespace test::thread_event
