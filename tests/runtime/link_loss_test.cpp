// What happens, and in which order, when the connection to aaad is lost.
#include <poll.h>

#include <atomic>
#include <thread>

#include "bytes.h"
#include "lock_probe.h"
#include "log_lines.h"
#include "message_pair.h"
#include "runtime/send/waiting_session.h"
#include "support/registered_test.h"

namespace test {
namespace {

class LinkLoss : public RegisteredTest {
 protected:
  void TearDown() override {
    aaa::set_waiting_session(0);
    RegisteredTest::TearDown();
    forget_datagrams();
  }
  void lose() {
    sim_.close_connections();
    ASSERT_TRUE(wait_for_event(AAA_EVENT_CONNECTION_LOST));
  }
  // Runs into the retry loop.
  void lose_for_long() {
    set_listening(false);
    lose();
  }
};

TEST_F(LinkLoss, TheClientIsToldOfTheLossAndThenOfTheNewRegistration) {
  register_client();
  lose();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_EQ((std::vector<std::uint32_t>{1, 0, 2}), client_events());
  EXPECT_EQ(AAA_REG_REGISTERED, state());
  EXPECT_TRUE(sim_.wait_for_clients(1));
}

// The state in which event 0 finds the library.
struct AtLoss {
  std::atomic<bool> told = false;
  int request_socket = 0;
  int event_socket = 0;
  int state = 0;
  bool locks_are_free = false;
  Bytes injected;
};
AtLoss at_loss;

int look(std::uint32_t event) {
  if (event != AAA_EVENT_CONNECTION_LOST || at_loss.told) return 0;
  at_loss.request_socket = aaa::load(g_aaa_client_cb.sync_fd);
  at_loss.event_socket = aaa::load(g_aaa_client_cb.async_fd);
  at_loss.state = aaa::load(g_aaa_client_cb.reg_state);
  at_loss.locks_are_free = no_lock_is_held();
  at_loss.injected = datagram();
  at_loss.told = true;
  return 0;
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
  EXPECT_TRUE(at_loss.locks_are_free);
  EXPECT_FALSE(at_loss.injected.empty());
}

TEST_F(LinkLoss, TheInjectedResultHoldsTheSessionAndCodeTwo) {
  register_client();
  forget_datagrams();
  aaa::set_waiting_session(0x01020304);
  lose();
  const Bytes result = datagram();
  ASSERT_GE(result.size(), 1284u);
  EXPECT_EQ(words({0x05000001, 2}), part(result, 0, 8));
  EXPECT_EQ(Bytes(568, 0), part(result, 8, 568));
  EXPECT_EQ(words({0x01020304}), part(result, 576, 4));
  EXPECT_EQ(Bytes(704, 0), part(result, 580, 704));
  EXPECT_EQ(Bytes(), datagram());
}

TEST_F(LinkLoss, OfAnEarlierLinkInjectsNothing) {
  register_client();
  aaa::set_waiting_session(77);
  aaa::aaa_notify_timeout(aaa::link_number() - 1);
  EXPECT_EQ(Bytes(), datagram());
  aaa::aaa_notify_timeout(aaa::link_number());
  EXPECT_NE(Bytes(), datagram());
}

TEST_F(LinkLoss, TheWaitingSessionIsNotCleared) {
  register_client();
  aaa::set_waiting_session(7);
  lose();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  const aaa::ScopedLock lock(aaa::waiting_session_lock);
  EXPECT_EQ(7u, aaa::g_temp_sid);
}

TEST_F(LinkLoss, WithoutAWaiterNothingIsInjected) {
  register_client();
  forget_datagrams();
  lose();
  EXPECT_EQ(Bytes(), datagram());
}

TEST_F(LinkLoss, AResultThatCannotBeEncodedIsLeftOut) {
  register_client();
  forget_datagrams();
  aaa::set_waiting_session(7);
  Scripts scripts;
  scripts.malloc = [](std::size_t) { return nullptr; };
  {
    const ScriptedCalls calls(scripts);
    lose();
  }
  EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_EQ(Bytes(), datagram());
}

TEST_F(LinkLoss, NoLockOfTheLibraryIsHeldWhileTheResultIsInjected) {
  std::atomic<int> injections = 0;
  std::atomic<bool> free = false;
  register_client();
  aaa::set_waiting_session(7);
  Scripts scripts;
  scripts.send = [&](int fd, const void*, std::size_t, int) {
    if (fd == lib_msg_client_fd) {
      free = no_lock_is_held();
      ++injections;
    }
    return std::nullopt;
  };
  const ScriptedCalls calls(scripts);
  lose();
  ASSERT_EQ(1, injections);
  EXPECT_TRUE(free);
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
}

TEST_F(LinkLoss, ABlockedWaiterWakesWithCodeTwo) {
  register_client();
  forget_datagrams();
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

TEST_F(LinkLoss, ItRetriesEveryTwoSecondsWithoutLimit) {
  register_client();
  lose_for_long();
  const MovedClock since;
  EXPECT_TRUE(eventually([&] { return since.sleeps() >= 100; }));
  const std::uint32_t sleeps = since.sleeps();
  EXPECT_GE(since.slept_us(), sleeps * 2000000ULL);
  EXPECT_LE(since.slept_us(), (sleeps + 10) * 2000000ULL);
  EXPECT_EQ(0u, times_told(AAA_EVENT_REREGISTERED));
}

}  // namespace
}  // namespace test
