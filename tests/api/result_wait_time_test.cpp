// How the time of a wait is used up: foreign results, interruptions, whole seconds.
#include <gmock/gmock.h>
#include <pthread.h>
#include <signal.h>
#include <time.h>

#include <thread>

#include "api/waiting_test.h"
#include "support/intended_leak.h"
#include "support/open_log.h"
#include "support/signal_handler.h"

namespace {

using test::result_of;
using test::ScriptedCalls;
using testing::ElementsAre;

constexpr char kForeign[] = "res->sub.session_id is 7 but the id is 9\r\n";
constexpr char kTimeout[] = "timeout, no result available.\r\n";

class ResultWaitTime : public test::WaitingTest {
 protected:
  void SetUp() override {
    WaitingTest::SetUp();
    enter_second();
  }

  // Results that are dropped stay allocated.
  void foreign_results(int count) {
    for (int i = 0; i < count; ++i)
      deliver(result_of(7));
    expect_blocks_left(static_cast<std::uint32_t>(count) * test::blocks_of_a_result());
  }

 private:
  // Only the test moves the clock to another second.
  static void enter_second() {
    timespec now = {};
    do {
      clock_gettime(CLOCK_MONOTONIC, &now);
    } while (now.tv_nsec > 800000000);
  }

  test::IntendedLeak dropped_results_;
};

TEST_F(ResultWaitTime, AForeignResultIsLoggedAndDroppedAndTheWaitGoesOn) {
  foreign_results(1);
  deliver(result_of(9));
  const test::OpenLog log;
  EXPECT_EQ(0, wait_for(9));
  EXPECT_EQ(9u, result_->sub.session_id);
  log.expect_only("aaa_user_get_result", kForeign);
}

TEST_F(ResultWaitTime, TheRecordOfAForeignResultIsNotReleasedNorLoggedBehindAClosedGate) {
  foreign_results(1);
  const test::LogCapture log;
  const test::LibraryCounters counters;
  EXPECT_EQ(-22, wait_for(9, 0));
  EXPECT_EQ(test::blocks_of_a_result(), counters.blocks_allocated() - counters.blocks_freed());
  EXPECT_GT(test::blocks_of_a_result(), 0u);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ResultWaitTime, AfterAForeignResultTheRestOfTheTimeIsWaited) {
  foreign_results(2);
  const ScriptedCalls calls(waits_end({with_datagram(3), with_datagram(4)}));
  EXPECT_EQ(-22, wait_for(9, 10));
  EXPECT_THAT(timeouts(), ElementsAre(10000, 7000, 3000));
}

TEST_F(ResultWaitTime, ForeignResultsWithinASecondDoNotShortenTheWait) {
  foreign_results(3);
  const ScriptedCalls calls(waits_end({with_datagram(), with_datagram(), with_datagram()}));
  wait_for(9, 1);
  EXPECT_THAT(timeouts(), ElementsAre(1000, 1000, 1000, 1000));
}

TEST_F(ResultWaitTime, ForeignResultsThatUseUpTheTimeEndTheWaitWithoutATimeoutLine) {
  foreign_results(2);
  for (const int seconds : {10, 50}) {
    const ScriptedCalls calls(waits_end({with_datagram(seconds)}));
    const std::size_t waits = timeouts().size();
    const test::OpenLog log;
    EXPECT_EQ(-22, wait_for(9, 10)) << seconds;
    EXPECT_EQ(waits + 1, timeouts().size()) << seconds;
    EXPECT_EQ(0u, log.count(kTimeout)) << seconds;
  }
}

TEST_F(ResultWaitTime, WithATimeoutOf0OneForeignResultEndsTheWait) {
  foreign_results(1);
  deliver(result_of(9));
  EXPECT_EQ(-22, wait_for(9, 0));
}

TEST_F(ResultWaitTime, TheAskedResultCountsHoweverMuchTimeHasPassed) {
  deliver(result_of(9));
  const ScriptedCalls calls(waits_end({with_datagram(50)}));
  EXPECT_EQ(0, wait_for(9, 10));
}

TEST_F(ResultWaitTime, OnlyTheWaitingTakesTime) {
  foreign_results(1);
  test::Scripts scripts = waits_end({with_datagram()});
  scripts.recv = [this](int, void*, std::size_t, int) {
    clock_.advance(5);
    return std::optional<ssize_t>();
  };
  const ScriptedCalls calls(scripts);
  wait_for(9, 10);
  EXPECT_THAT(timeouts(), ElementsAre(10000, 10000));
}

TEST_F(ResultWaitTime, AnInterruptedWaitGoesOnWithTheTimeLeftAndNoLine) {
  const ScriptedCalls calls(waits_end({with_error(EINTR, 2), with_error(EINTR)}));
  const test::OpenLog log;
  EXPECT_EQ(-22, wait_for(9, 10));
  EXPECT_THAT(timeouts(), ElementsAre(10000, 8000, 8000));
  EXPECT_EQ(1u, log.lines().size()) << "more than the timeout's line";
}

TEST_F(ResultWaitTime, InterruptionsThatUseUpTheTimeEndTheWaitWithoutALine) {
  const ScriptedCalls calls(waits_end({with_error(EINTR, 30)}));
  const test::OpenLog log;
  EXPECT_EQ(-22, wait_for(9, 10));
  EXPECT_EQ(1u, timeouts().size());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ResultWaitTime, ADatagramThatSomebodyElseTookIsNotWaitedForInTheReceive) {
  const ScriptedCalls calls(waits_end({ending(4, 1)}));
  const test::OpenLog log;
  EXPECT_EQ(-22, wait_for(9, 10));
  EXPECT_THAT(timeouts(), ElementsAre(10000, 6000));
  EXPECT_EQ(1u, log.count(kTimeout));
  EXPECT_EQ(1u, log.lines().size());
}

TEST_F(ResultWaitTime, ASignalDoesNotEndTheWait) {
  test::handle_from_now_on(SIGUSR1, [](int) {});
  std::int32_t outcome = -1;
  std::thread waiter([&] { outcome = wait_for(9, 100); });
  EXPECT_TRUE(test::eventually([] { return test::published() == 9; })) << "nobody waits";
  for (int i = 0; i < 20; ++i) {
    pthread_kill(waiter.native_handle(), SIGUSR1);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  deliver(result_of(9));
  waiter.join();
  EXPECT_EQ(0, outcome);
}

}  // namespace
