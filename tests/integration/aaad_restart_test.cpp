// aaad killed and started again, as a process of its own.
#include <chrono>
#include <fstream>
#include <optional>
#include <semaphore>
#include <thread>

#include "runtime/send/local_delivery.h"
#include "session/state/locks.h"
#include "support/child_program.h"
#include "support/login.h"
#include "transport/base/atomic_word.h"

namespace {

class AaadRestart : public test::LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    std::ofstream(users_) << "[[user]]\nname = \"alice\"\npassword = \"secret\"\n";
  }
  void TearDown() override {
    test::stop_library();
    aaad_.reset();
    LibraryTest::TearDown();
  }

  void start_aaad(std::vector<std::string> options = {}) {
    // Without heartbeats, as test::forgo_heartbeats() has it.
    options.insert(options.end(), {"--quiet", "--directory", directory(), "--users", users_,
                                   "--status", "aaa_id_limit=0"});
    aaad_.emplace(AAAD_SIM_PROGRAM, std::move(options), directory());
    EXPECT_NE("", aaad_->output_line()) << "aaad-sim does not listen";
  }
  // At once, without a chance to close its connections.
  void kill_aaad() {
    aaad_.reset();
    ASSERT_TRUE(test::wait_for_event(AAA_EVENT_CONNECTION_LOST)) << "loss not told";
  }
  static void register_client() {
    const reg_info info = test::client_with(test::ResultBy::waiting);
    ASSERT_EQ(0, aaa_svr_reg(&info));
    ASSERT_EQ(1, aaa_is_alive());
  }
  static bool is_waited_for(std::uint32_t session_id) {
    return test::eventually([=] {
      const aaa::ScopedLock lock(aaa::waiting_session_lock);
      return aaa::load(aaa::g_temp_sid) == session_id;
    });
  }

  const std::string users_ = directory() + "/users.toml";
  std::optional<test::ChildProgram> aaad_;
};

// However busy the machine is: an attempt that begins when aaad listens succeeds, so that no more
// than one pause follows.
TEST_F(AaadRestart, TheClientIsRegisteredAgainWithin2SecondsAndOneAttempt) {
  constexpr std::uint64_t pause_us = 2'000'000;
  start_aaad();
  register_client();
  test::expect_service();
  const test::MovedClock clock;
  kill_aaad();
  EXPECT_EQ(0, aaa_is_alive());
  start_aaad();
  const std::uint32_t pauses_without_aaad = clock.sleeps();
  ASSERT_TRUE(test::wait_for_event(AAA_EVENT_REREGISTERED)) << "not registered again";
  EXPECT_LE(clock.sleeps(), pauses_without_aaad + 1);
  EXPECT_EQ(clock.slept_us(), clock.sleeps() * pause_us);
  test::expect_service();
}

// The others do not wait 2 seconds for an attempt.
class AaadQuickRestart : public AaadRestart {
 protected:
  void SetUp() override {
    AaadRestart::SetUp();
    clock_.shorten_sleeps();
  }

  test::MovedClock clock_;
};

TEST_F(AaadQuickRestart, SessionIdsOfTheOldBlockAreHandedOutFirst) {
  start_aaad({"--first-session-id", "100", "--session-ids", "3"});
  register_client();
  EXPECT_EQ(100u, aaa_get_session_id());
  kill_aaad();
  start_aaad({"--first-session-id", "900"});
  ASSERT_TRUE(test::wait_for_event(AAA_EVENT_REREGISTERED)) << "not registered again";
  for (const std::uint32_t expected : {101, 102, 900, 901})
    EXPECT_EQ(expected, aaa_get_session_id());
}

TEST_F(AaadQuickRestart, AWaitingThreadGetsCode2WhenAaadDies) {
  start_aaad({"--fault", "request:5=silent"});
  register_client();
  const std::uint32_t session_id = aaa_get_session_id();
  EXPECT_EQ(0, test::request_login(session_id, "alice", "secret"));
  test::Verdict verdict = {};
  std::thread waiter([&] { verdict = test::result_of_session(session_id); });
  EXPECT_TRUE(is_waited_for(session_id)) << "nobody waits";
  kill_aaad();
  waiter.join();
  EXPECT_EQ(session_id, verdict.session_id);
  EXPECT_EQ(test::kConnectionLost, verdict.code);
  EXPECT_EQ("", verdict.user);
}

TEST_F(AaadQuickRestart, NobodyIsHandedAResultWhenNobodyWaits) {
  start_aaad();
  register_client();
  kill_aaad();
  result_info* result = nullptr;
  EXPECT_EQ(-22, aaa_user_get_result(1, 0, 0, &result));
}

std::binary_semaphore callback_has_begun{0}, callback_may_end{0};

// A test may end while the receive thread, here in a callback, has not noticed a loss.
using StopLibrary = test::SimulatedTest;

TEST_F(StopLibrary, BeforeALossIsNoticedLeavesNoSocketOpen) {
  reg_info info = test::client();
  info.aaa_event_cb = [](std::uint32_t event) {
    if (event != AAA_EVENT_METHOD_LISTS_CHANGED) return 0;
    callback_has_begun.release();
    callback_may_end.acquire();
    return 0;
  };
  register_client(info);
  sim_.send_message({}, aaa_sim::Role::event, AAA_MSG_MLIST_CHANGE, 0);
  ASSERT_TRUE(callback_has_begun.try_acquire_for(test::kPatience)) << "no callback";
  sim_.close_connections();
  std::thread ender([] {
    EXPECT_TRUE(test::eventually([] { return aaa::load(g_aaa_client_cb.aaa_id) == -1; }));
    callback_may_end.release();
  });
  test::stop_library();
  ender.join();
  EXPECT_EQ(-1, aaa::load(g_aaa_client_cb.sync_fd));
  EXPECT_EQ(-1, aaa::load(g_aaa_client_cb.async_fd));
}

}  // namespace
