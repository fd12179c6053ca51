// The wrappers over the process-health watchdog, and the rule by which it is fed.
#include "runtime/send/library_threads.h"

#include <unistd.h>

#include "support/library_test.h"

namespace test::watchdog {

class Watchdog : public LibraryTest {
 protected:
  // Expects the call that was made since the last time, and its answer.
  void expect_call(std::int32_t answer, const std::function<std::int32_t()>& call,
                   const WatchdogCall& expected) {
    const WatchdogRecorder watchdog;
    watchdog_.answer(answer);
    EXPECT_EQ(answer, call());
    const std::vector<WatchdogCall> calls = watchdog.calls();
    ASSERT_EQ(1u, calls.size());
    EXPECT_EQ(expected.name, calls[0].name);
    EXPECT_EQ(expected.pid, calls[0].pid);
    EXPECT_EQ(expected.tid, calls[0].tid);
    EXPECT_EQ(expected.interval, calls[0].interval);
    EXPECT_EQ(expected.tolerance, calls[0].tolerance);
  }

  // Feeds with a stamp so many seconds before (or, below 0, after) the uptime, and expects how far
  // the stamp moves. The uptime of the system may turn over in between: then it is done again.
  void expect_feeding(std::int64_t age, std::int32_t result, std::int64_t moved) {
    std::uint32_t uptime = 0;
    std::uint32_t before = 0;
    std::int32_t given = 0;
    do {
      uptime = aaa::uptime_seconds();
      stamp_ = before = static_cast<std::uint32_t>(uptime - age);
      given = aaa_check_reset_ham_client_notify(&stamp_);
    } while (uptime != aaa::uptime_seconds());
    EXPECT_EQ(result, given) << age;
    EXPECT_EQ(static_cast<std::uint32_t>(before + moved), stamp_) << age;
  }

  WatchdogRecorder watchdog_;
  std::uint32_t stamp_ = 0;
};

TEST_F(Watchdog, AnyThreadCanBeRegisteredAndUnregisteredAndTheCallingOneResetToo) {
  expect_call(17, [] { return aaa_reg_ham_client_thread_notify(1234, 5678); },
              {"reg", 1234, 5678, 60, 10});
  expect_call(-3, aaa_reg_ham_client_notify, {"reg", getpid(), gettid(), 60, 10});
  expect_call(5, aaa_reset_ham_client_notify, {"reset", getpid(), gettid(), 60, 10});
  expect_call(6, aaa_dereg_ham_client_notify, {"unreg", 0, gettid(), 0, 0});
  expect_call(-7, [] { return aaa_dereg_ham_client_notify_by_tid(4321); },
              {"unreg", 0, 4321, 0, 0});
}

TEST_F(Watchdog, AStampOfFiftySecondsIsYoungEnough) {
  watchdog_.answer(9);
  for (const std::int64_t age : {0, 50, -50})
    expect_feeding(age, 0, 0);
  EXPECT_EQ(0u, watchdog_.count("reset"));
}

TEST_F(Watchdog, AfterFiftySecondsOrFromTheFutureItIsFedAndTheStampMoves) {
  watchdog_.answer(9);
  expect_feeding(51, 9, 51);
  EXPECT_GE(watchdog_.count("reset"), 1u);
  watchdog_.answer(0);
  expect_feeding(51, 0, 51);
  expect_feeding(-51, 0, -51);
  EXPECT_GE(watchdog_.count("reset"), 3u);
}

TEST_F(Watchdog, AFailedResetLeavesTheStampSoThatTheNextCallTriesAgain) {
  watchdog_.answer(-1, EIO);
  expect_feeding(51, -1, 0);
  const std::size_t failed = watchdog_.count("reset");
  watchdog_.answer(0);
  EXPECT_EQ(0, aaa_check_reset_ham_client_notify(&stamp_));
  EXPECT_EQ(failed + 1, watchdog_.count("reset"));
}

}  // namespace test::watchdog
