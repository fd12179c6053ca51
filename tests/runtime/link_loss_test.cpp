// What happens, and in which order, when the connection to aaad is lost: the waiter, the sockets
// and the client's event, then registering again until it succeeds or the client has deregistered.
#include <atomic>

#include "runtime/receive/receive_thread.h"
#include "runtime/receive_test.h"
#include "runtime/send/send_buffer.h"

namespace test::link_loss {

constexpr char kStartLine[] = "aaa client start to try re-reg.\r\n";
constexpr char kSuccessLine[] = "register aaa success.\r\n";

class LinkLoss : public ReceiveTest {
 protected:
  // Registers, with a session waiting for its result; 0 is none.
  void register_waiting(std::uint32_t session_id) {
    register_client();
    forget_datagrams();
    aaa::set_waiting_session(session_id);
  }
};

TEST_F(LinkLoss, TheClientIsToldOfTheLossAndThenOfTheNewRegistration) {
  register_client();
  lose();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_THAT(client_events(), ElementsAre(1, 0, 2));
  EXPECT_EQ(AAA_REG_REGISTERED, state());
  EXPECT_TRUE(sim_.wait_for_clients(1));
}

// An exchange that drains a dead socket holds the lock until it learns of the loss.
TEST_F(LinkLoss, IsAnnouncedWhileAnotherThreadHoldsTheLibrarysLock) {
  register_client();
  take_pass();
  {
    const aaa::ScopedLock held(aaa_lib_lock);
    sim_.close_connections();
    EXPECT_TRUE(eventually([] { return aaa::link_is_lost(); }));
  }
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
}

// The state in which event 0 finds the library.
struct AtLoss {
  std::atomic<bool> told = false;
  int request_socket = 0;
  int event_socket = 0;
  int state = 0;
  std::vector<std::string> locks = {"not told"};
  std::string injected;
};
AtLoss at_loss;

int look(std::uint32_t event) {
  if (event != AAA_EVENT_CONNECTION_LOST || at_loss.told) return 0;
  at_loss.request_socket = aaa::load(g_aaa_client_cb.sync_fd);
  at_loss.event_socket = aaa::load(g_aaa_client_cb.async_fd);
  at_loss.state = aaa::load(g_aaa_client_cb.reg_state);
  at_loss.locks = locks_held();
  at_loss.injected = datagram();
  at_loss.told = true;
  return 0;
}

TEST_F(LinkLoss, BeforeTheClientIsToldTheWaiterIsAndBothSocketsAreClosed) {
  at_loss.told = false;
  reg_info info = client();
  info.aaa_event_cb = look;
  register_client(info);
  forget_datagrams();
  aaa::set_waiting_session(5);
  sim_.close_connections();
  ASSERT_TRUE(eventually([] { return at_loss.told.load(); }));
  EXPECT_EQ(-1, at_loss.request_socket);
  EXPECT_EQ(-1, at_loss.event_socket);
  EXPECT_EQ(5, at_loss.state);
  EXPECT_THAT(at_loss.locks, IsEmpty());
  EXPECT_NE("", at_loss.injected);
}

TEST_F(LinkLoss, TheInjectedResultHoldsTheSessionWhichIsKeptAndCodeTwo) {
  register_waiting(0x01020304);
  lose();
  const std::string result = datagram();
  ASSERT_GE(result.size(), 1284u);
  EXPECT_EQ(word_bytes({0x05000001, 2}), result.substr(0, 8));
  EXPECT_EQ(zeros(568), result.substr(8, 568));
  EXPECT_EQ(word_bytes({0x01020304}), result.substr(576, 4));
  EXPECT_EQ(zeros(704), result.substr(580, 704));
  EXPECT_EQ("", datagram());
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  const aaa::ScopedLock lock(aaa::waiting_session_lock);
  EXPECT_EQ(0x01020304u, aaa::g_temp_sid);
}

TEST_F(LinkLoss, OfAnEarlierLinkInjectsNothing) {
  register_waiting(77);
  aaa::aaa_notify_timeout(aaa::link_number() - 1);
  EXPECT_EQ("", datagram());
  aaa::aaa_notify_timeout(aaa::link_number());
  EXPECT_NE("", datagram());
}

TEST_F(LinkLoss, NothingIsInjectedWithoutAWaiterOrWhenItCannotBeEncoded) {
  register_waiting(0);
  lose();
  EXPECT_EQ("", datagram());
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  aaa::set_waiting_session(7);
  {
    const ScriptedCalls calls(no_memory());
    sim_.close_connections();
    ASSERT_TRUE(wait_for_event(AAA_EVENT_CONNECTION_LOST, 2));
  }
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED, 2));
  EXPECT_EQ("", datagram());
}

TEST_F(LinkLoss, NoLockOfTheLibraryIsHeldWhileTheResultIsInjected) {
  std::atomic<int> injections = 0;
  std::atomic<bool> free = false;
  register_waiting(7);
  const ScriptedCalls calls({.send = on_socket(lib_msg_client_fd, noting([&] {
                                                 free = locks_held().empty();
                                                 ++injections;
                                               }))});
  lose();
  ASSERT_EQ(1, injections);
  EXPECT_TRUE(free);
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
}

TEST_F(LinkLoss, ABlockedWaiterWakesWithCodeTwo) {
  register_waiting(0);
  std::int32_t outcome = 1;
  result_info* result = nullptr;
  std::thread waiter([&] { outcome = aaa_user_get_result(9, 0, 60, &result); });
  EXPECT_TRUE(eventually([] {
    const aaa::ScopedLock lock(aaa::waiting_session_lock);
    return aaa::g_temp_sid == 9;
  }));
  lose();
  waiter.join();
  ASSERT_EQ(0, outcome);
  EXPECT_EQ(9u, result->sub.session_id);
  EXPECT_EQ(2u, result->sub.num_a);
  aaa_free_result_info(result);
}

class Reregistration : public ReceiveTest {};

TEST_F(Reregistration, IsTriedEveryTwoSecondsWithoutLimit) {
  register_client();
  lose_aaad();
  const MovedClock since;
  EXPECT_TRUE(eventually([&] { return since.sleeps() >= 100; }));
  const std::uint32_t sleeps = since.sleeps();
  EXPECT_GE(since.slept_us(), sleeps * 2000000ULL);
  EXPECT_LE(since.slept_us(), (sleeps + 10) * 2000000ULL);
  EXPECT_EQ(0u, times_told(AAA_EVENT_REREGISTERED));
}

TEST_F(Reregistration, ARegisteredClientIsLeftAlone) {
  register_client();
  const OpenLog log;
  aaa::aaa_svr_rereg(nullptr);
  expect_only_line(log, "aaa_svr_rereg", "aaa client is registered, not need register again.\r\n");
  EXPECT_EQ(2u, sim_.accepted_connections());
  EXPECT_EQ(0u, times_told(AAA_EVENT_REREGISTERED));
}

TEST_F(Reregistration, ItLogsItsStartOnceAndItsSuccess) {
  open_gate_for_clients();
  register_client();
  take_pass();
  const LogCapture log;
  lose_aaad();
  ASSERT_TRUE(retries(3));
  EXPECT_EQ(0u, log.count(kSuccessLine));
  set_listening(true);
  EXPECT_TRUE(log.wait_for(kSuccessLine));
  const pid_t thread = receive_thread();
  expect_line(log, "aaa_svr_rereg", kStartLine, thread);
  expect_line(log, "aaa_svr_rereg", kSuccessLine, thread);
}

const LogCapture* log_at_event;
std::atomic<std::size_t> lines_at_event;

TEST_F(Reregistration, TheClientIsToldBeforeTheSuccessIsLogged) {
  const LogCapture log;
  log_at_event = &log;
  lines_at_event = 99;
  open_gate_for_clients();
  reg_info info = client();
  info.aaa_event_cb = [](std::uint32_t event) {
    if (event == AAA_EVENT_REREGISTERED) lines_at_event = log_at_event->count(kSuccessLine);
    return 0;
  };
  register_client(info);
  sim_.close_connections();
  EXPECT_TRUE(log.wait_for(kSuccessLine));
  EXPECT_EQ(0u, lines_at_event);
}

TEST_F(Reregistration, BetweenAttemptsTheStateIsFiveAndBothSocketsAreClosed) {
  register_client();
  sim_.set_fault(Role::event, AAA_MSG_REGISTER_REQ, Fault::wrong_type);
  lose();
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
  lose_aaad();
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

TEST_F(Reregistration, AClientThatDeregistersMeanwhileStaysAwayWhenAaadComesBack) {
  const WatchdogRecorder watchdog;
  open_gate_for_clients();
  register_client(batching_client());
  take_pass();
  const pid_t thread = receive_thread();
  const LogCapture log;
  lose_aaad();
  ASSERT_TRUE(retries(1));
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_EQ(1u, log.count("already unregistered or not registered or is connecting!\r\n"));
  EXPECT_EQ(1u, log.count("aaa has been deregister\r\n"));
  EXPECT_EQ(-1, aaa::load(g_aaa_client_cb.aaa_id));
  EXPECT_NE(nullptr, aaa::load(g_aaa_client_cb.aaa_event_cb));
  EXPECT_FALSE(aaa::send_buffer_is_used());
  set_listening(true);
  EXPECT_TRUE(receive_thread_is_gone());
  EXPECT_EQ(AAA_REG_NOT_REGISTERED, state());
  EXPECT_EQ(0, aaa_is_alive());
  EXPECT_EQ(2u, sim_.accepted_connections());
  EXPECT_THAT(client_events(), ElementsAre(1, 3, 0));
  expect_lines(log, "aaa_lib_thread", "aaa client async socket not created.\r\n", thread);
  EXPECT_EQ(2u, watchdog.count("unreg"));
  EXPECT_THAT(watchdog.calls(),
              Contains(testing::AllOf(testing::Field(&WatchdogCall::name, "unreg"),
                                      testing::Field(&WatchdogCall::tid, thread))));
}

TEST_F(Reregistration, AClientThatDeregisteredMeanwhileMayComeBackAtOnce) {
  register_client(batching_client());
  take_pass();
  lose_aaad();
  ASSERT_TRUE(retries(1));
  EXPECT_EQ(0, aaa_svr_dereg());
  set_listening(true);
  register_client(batching_client());
  take_pass();
  EXPECT_TRUE(eventually([] { return threads_named(receive_thread_name()).size() == 1; }));
  EXPECT_TRUE(eventually([] { return threads_named(flush_thread_name()).size() == 1; }));
}

}  // namespace test::link_loss
