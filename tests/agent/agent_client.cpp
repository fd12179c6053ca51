#include "agent/agent_client.h"

#include <poll.h>

namespace test {
namespace {

aaa_event_fn note_event = nullptr;
std::function<void(std::uint32_t)> event_action;

int act_on_event(std::uint32_t event) {
  const int result = note_event(event);
  event_action(event);
  return result;
}

}  // namespace

reg_info client_that(std::function<void(std::uint32_t event)> action) {
  reg_info info = client();
  note_event = info.aaa_event_cb;
  event_action = std::move(action);
  info.aaa_event_cb = act_on_event;
  return info;
}

reg_info client_that_at(std::uint32_t event, std::function<void()> action) {
  return client_that([=, acted = false](std::uint32_t told) mutable {
    if (told == event && !std::exchange(acted, true)) action();
  });
}

AgentTest::AgentTest() {
  open_gate_for_clients();
  aaa::g_agent_master = nullptr;
}

void AgentTest::TearDown() {
  aaa_agent_finish();
  expect_nothing_scheduled();
  RegisteredTest::TearDown();
}

void AgentTest::init(const reg_info& info) {
  ASSERT_EQ(0, aaa_agent_init(&info, loop_.master()));
}

void AgentTest::init_and_connect(const reg_info& info) {
  init(info);
  ASSERT_EQ(0, run("aaa-connect"));
  ASSERT_EQ(4, state());
}

void AgentTest::schedule_all_others() {
  aaa_lib_thread_event(0, nullptr, 0);
  aaa_lib_thread_event(1, nullptr, 0);
  aaa::g_agent_spare_ev =
      zv_thread_add_event_withname(loop_.master(), aaa::aaa_lib_agent_read, nullptr, 0, "spare");
  loop_.take_journal();
}

int AgentTest::read() {
  pollfd watched = {.fd = event_socket(), .events = POLLIN, .revents = 0};
  EXPECT_EQ(1, poll(&watched, 1, static_cast<int>(kPatience.count()))) << "nothing arrives";
  return run("aaa-read");
}

void AgentTest::deliver(std::uint32_t type, const std::string& body) {
  send(type, body);
  EXPECT_EQ(0, read());
}

void AgentTest::lose_link() {
  sim_.close_connections();
  EXPECT_EQ(0, read());
}

void AgentTest::lose_aaad() {
  set_listening(false);
  lose_link();
}

void AgentTest::expect_steady() const {
  EXPECT_THAT(loop_.names(), testing::UnorderedElementsAre("aaa-read", "aaa-heartbeat"));
  EXPECT_EQ(event_socket(), loop_.task("aaa-read").number);
}
void AgentTest::expect_reconnecting() const {
  EXPECT_THAT(loop_.names(), ElementsAre("aaa-reconnect"));
}
void AgentTest::expect_nothing_scheduled() const {
  EXPECT_THAT(loop_.names(), IsEmpty());
  for (const zv_thread* const handle :
       {aaa::g_agent_connect_ev, aaa::g_agent_reconnect_tmr, aaa::g_agent_read_ev,
        aaa::g_agent_spare_ev, aaa::g_agent_hbt_tmr})
    EXPECT_EQ(nullptr, handle);
}

}  // namespace test
