// The wrappers over the process-health watchdog, and the rule by which it is fed.
#include "support/watchdog_recorder.h"

#include <unistd.h>

#include <cerrno>

#include "aaa_client.h"
#include "runtime/send/library_threads.h"
#include "support/library_test.h"
#include "support/moved_clock.h"

namespace test {
namespace {

class Watchdog : public LibraryTest {
 protected:
  void expect_call(const char* name, std::int32_t pid, std::int32_t tid, std::uint32_t interval,
                   std::uint32_t tolerance) {
    const std::vector<WatchdogCall> calls = watchdog_.calls();
    ASSERT_EQ(1u, calls.size());
    EXPECT_EQ(name, calls[0].name);
    EXPECT_EQ(pid, calls[0].pid);
    EXPECT_EQ(tid, calls[0].tid);
    EXPECT_EQ(interval, calls[0].interval);
    EXPECT_EQ(tolerance, calls[0].tolerance);
  }

  // Feeds with a stamp so many seconds before (or, below 0, after) the uptime. The uptime of the
  // system may turn over in between: then it is done again.
  std::int32_t feed(std::int64_t age) {
    std::uint32_t uptime = 0;
    std::int32_t result = 0;
    do {
      uptime = aaa::uptime_seconds();
      stamp_before_ = static_cast<std::uint32_t>(uptime - age);
      stamp_ = stamp_before_;
      result = aaa_check_reset_ham_client_notify(&stamp_);
    } while (uptime != aaa::uptime_seconds());
    return result;
  }

  WatchdogRecorder watchdog_;
  std::uint32_t stamp_before_ = 0;
  std::uint32_t stamp_ = 0;
};

TEST_F(Watchdog, AnyThreadCanBeRegistered) {
  watchdog_.answer(17);
  EXPECT_EQ(17, aaa_reg_ham_client_thread_notify(1234, 5678));
  expect_call("reg", 1234, 5678, 60, 10);
}

TEST_F(Watchdog, TheCallingThreadIsRegistered) {
  watchdog_.answer(-3);
  EXPECT_EQ(-3, aaa_reg_ham_client_notify());
  expect_call("reg", getpid(), gettid(), 60, 10);
}

TEST_F(Watchdog, TheCallingThreadIsReset) {
  watchdog_.answer(5);
  EXPECT_EQ(5, aaa_reset_ham_client_notify());
  expect_call("reset", getpid(), gettid(), 60, 10);
}

TEST_F(Watchdog, TheCallingThreadIsUnregistered) {
  watchdog_.answer(6);
  EXPECT_EQ(6, aaa_dereg_ham_client_notify());
  expect_call("unreg", 0, gettid(), 0, 0);
}

TEST_F(Watchdog, AnyThreadCanBeUnregistered) {
  watchdog_.answer(-7);
  EXPECT_EQ(-7, aaa_dereg_ham_client_notify_by_tid(4321));
  expect_call("unreg", 0, 4321, 0, 0);
}

TEST_F(Watchdog, AStampOfFiftySecondsIsYoungEnough) {
  watchdog_.answer(9);
  for (const std::int64_t age : {0, 50, -50}) {
    EXPECT_EQ(0, feed(age));
    EXPECT_EQ(stamp_before_, stamp_);
  }
  EXPECT_EQ(0u, watchdog_.count("reset"));
}

TEST_F(Watchdog, AfterFiftySecondsTheWatchdogIsFedAndTheStampMoves) {
  watchdog_.answer(9);
  EXPECT_EQ(9, feed(51));
  EXPECT_EQ(stamp_before_ + 51, stamp_);
  EXPECT_GE(watchdog_.count("reset"), 1u);
}

TEST_F(Watchdog, AStampFromTheFutureIsFedToo) {
  EXPECT_EQ(0, feed(-51));
  EXPECT_EQ(stamp_before_ - 51, stamp_);
  EXPECT_GE(watchdog_.count("reset"), 1u);
}

TEST_F(Watchdog, AResetThatReturnsZeroMovesTheStamp) {
  watchdog_.answer(0);
  feed(51);
  EXPECT_EQ(stamp_before_ + 51, stamp_);
}

TEST_F(Watchdog, AFailedResetLeavesTheStampSoThatTheNextCallTriesAgain) {
  watchdog_.answer(-1, EIO);
  EXPECT_EQ(-1, feed(51));
  EXPECT_EQ(stamp_before_, stamp_);
  const std::size_t failed = watchdog_.count("reset");
  watchdog_.answer(0);
  EXPECT_EQ(0, aaa_check_reset_ham_client_notify(&stamp_));
  EXPECT_EQ(failed + 1, watchdog_.count("reset"));
}

}  // namespace
}  // namespace test
