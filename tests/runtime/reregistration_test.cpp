// Registering again, until it succeeds or the client has deregistered.
#include <unistd.h>

#include <cstdlib>

#include "log_lines.h"
#include "runtime/receive/receive_thread.h"
#include "support/registered_test.h"

namespace test {
namespace {

using aaa_sim::Fault;

class Reregistration : public RegisteredTest {
 protected:
  void lose_for_long() {
    set_listening(false);
    sim_.close_connections();
    ASSERT_TRUE(wait_for_event(AAA_EVENT_CONNECTION_LOST));
  }
  bool retries(std::uint32_t times) {
    const std::uint32_t goal = clock_.sleeps() + times;
    return eventually([this, goal] { return clock_.sleeps() >= goal; });
  }
};

TEST_F(Reregistration, ARegisteredClientIsLeftAlone) {
  register_client();
  const OpenGate gate;
  const LogCapture log;
  aaa::aaa_svr_rereg(nullptr);
  expect_debug_line(log, "aaa client is registered, not need register again.\r\n", "aaa_svr_rereg");
  EXPECT_EQ(1u, log.lines().size());
  EXPECT_EQ(2u, sim_.accepted_connections());
  EXPECT_EQ(0u, times_told(AAA_EVENT_REREGISTERED));
}

TEST_F(Reregistration, ItLogsItsStartOnceAndItsSuccess) {
  open_gate_for_clients();
  register_client();
  take_pass();
  const LogCapture log;
  lose_for_long();
  ASSERT_TRUE(retries(3));
  EXPECT_EQ(0u, log.count("register aaa success.\r\n"));
  set_listening(true);
  EXPECT_TRUE(log.wait_for("register aaa success.\r\n"));
  const pid_t thread = receive_thread();
  expect_debug_line(log, "aaa client start to try re-reg.\r\n", "aaa_svr_rereg", thread);
  expect_debug_line(log, "register aaa success.\r\n", "aaa_svr_rereg", thread);
  EXPECT_EQ(1u, log.count("aaa client start to try re-reg.\r\n"));
  EXPECT_EQ(1u, log.count("register aaa success.\r\n"));
}

TEST_F(Reregistration, TheClientIsToldBeforeTheSuccessIsLogged) {
  static LogCapture* log = nullptr;
  static std::atomic<std::size_t> lines_when_told = 99;
  const LogCapture capture;
  log = const_cast<LogCapture*>(&capture);
  open_gate_for_clients();
  reg_info info = client();
  info.aaa_event_cb = [](std::uint32_t event) {
    if (event == AAA_EVENT_REREGISTERED) lines_when_told = log->count("register aaa success.\r\n");
    return 0;
  };
  register_client(info);
  sim_.close_connections();
  EXPECT_TRUE(capture.wait_for("register aaa success.\r\n"));
  EXPECT_EQ(0u, lines_when_told);
}

TEST_F(Reregistration, BetweenAttemptsTheStateIsFiveAndBothSocketsAreClosed) {
  register_client();
  sim_.set_fault(Role::event, AAA_MSG_REGISTER_REQ, Fault::wrong_type);
  sim_.close_connections();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_CONNECTION_LOST));
  ASSERT_TRUE(retries(2));
  EXPECT_TRUE(eventually([] {
    return state() == AAA_REG_LOST && aaa::load(g_aaa_client_cb.sync_fd) == -1 &&
           event_socket() == -1;
  }));
  EXPECT_EQ(0, aaa_is_alive());
  sim_.set_fault(Role::event, AAA_MSG_REGISTER_REQ, Fault::none);
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_EQ(AAA_REG_REGISTERED, state());
}

TEST_F(Reregistration, ARefusedClientGoesOnTrying) {
  register_client();
  sim_.change([](Settings& settings) { settings.aaa_id = aaa_sim::kRefused; });
  sim_.close_connections();
  ASSERT_TRUE(retries(3));
  EXPECT_EQ(0u, times_told(AAA_EVENT_REREGISTERED));
  sim_.change([](Settings& settings) { settings.aaa_id = 3; });
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_EQ(3, aaa::load(g_aaa_client_cb.aaa_id));
}

TEST_F(Reregistration, TheWatchdogIsFedWhileAaadIsAway) {
  const WatchdogRecorder watchdog;
  register_client();
  take_pass();
  const pid_t thread = receive_thread();
  EXPECT_EQ(0u, watchdog.count("reset"));
  lose_for_long();
  EXPECT_TRUE(eventually([&] { return watchdog.count("reset") >= 3; }));
  for (const WatchdogCall& call : watchdog.calls())
    EXPECT_EQ(thread, call.tid);
}

TEST_F(Reregistration, TheSameThreadServesTheNewConnection) {
  register_client();
  const pid_t thread = receive_thread();
  for (std::size_t round = 1; round <= 3; ++round) {
    sim_.close_connections();
    ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED, round));
    take_pass();
    EXPECT_EQ(thread, receive_thread());
  }
}

TEST_F(Reregistration, ADeregisteredClientIsNotRegisteredAgain) {
  const WatchdogRecorder watchdog;
  open_gate_for_clients();
  register_client();
  take_pass();
  const pid_t thread = receive_thread();
  const LogCapture log;
  lose_for_long();
  ASSERT_TRUE(retries(1));
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_TRUE(receive_thread_is_gone());
  EXPECT_EQ(AAA_REG_NOT_REGISTERED, state());
  EXPECT_EQ((std::vector<std::uint32_t>{1, 3, 0}), client_events());
  expect_debug_line(log, "aaa client async socket not created.\r\n", "aaa_lib_thread", thread);
  ASSERT_EQ(1u, watchdog.count("unreg"));
  EXPECT_EQ(thread, watchdog.calls().back().tid);
}

TEST_F(Reregistration, AClientThatLeavesWhileAaadIsAwayStaysAwayWhenAaadComesBack) {
  register_client();
  take_pass();
  lose_for_long();
  ASSERT_TRUE(retries(1));
  EXPECT_EQ(0, aaa_svr_dereg());
  set_listening(true);
  EXPECT_TRUE(receive_thread_is_gone());
  EXPECT_EQ(0, aaa_is_alive());
  EXPECT_EQ(2u, sim_.accepted_connections());
}

TEST_F(Reregistration, AClientThatLeftWhileAaadWasAwayMayComeBackAtOnce) {
  reg_info info = client();
  info.use_send_buf = 1;
  register_client(info);
  take_pass();
  lose_for_long();
  ASSERT_TRUE(retries(1));
  EXPECT_EQ(0, aaa_svr_dereg());
  set_listening(true);
  register_client(info);
  take_pass();
  EXPECT_TRUE(eventually([] { return threads_named(receive_thread_name()).size() == 1; }));
  EXPECT_TRUE(eventually([] { return threads_named(flush_thread_name()).size() == 1; }));
}

}  // namespace
}  // namespace test
