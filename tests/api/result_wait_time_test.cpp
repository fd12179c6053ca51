// How the time of a wait is used up: foreign results, interruptions, whole seconds.
#include <gmock/gmock.h>
#include <pthread.h>
#include <signal.h>

#include <thread>

#include "api/waiting_test.h"
#include "support/intended_leak.h"
#include "support/signal_handler.h"
#include "support/table_row.h"

namespace test {
namespace {

constexpr char kForeign[] = "res->sub.session_id is 7 but the id is 9\r\n";
constexpr char kTimeout[] = "timeout, no result available.\r\n";

class ResultWaitTime : public WaitingTest {
 protected:
  void SetUp() override {
    WaitingTest::SetUp();
    enter_second();
  }

  // Results that are dropped stay allocated.
  void foreign_results(int count) {
    for (int i = 0; i < count; ++i)
      deliver(result_of(7));
    expect_blocks_left(static_cast<std::uint32_t>(count) * blocks_of_a_result());
  }

 private:
  IntendedLeak dropped_results_;
};

TEST_F(ResultWaitTime, AForeignResultIsLoggedAndDroppedAndTheWaitGoesOn) {
  foreign_results(1);
  deliver(result_of(9));
  const OpenLog log;
  EXPECT_EQ(0, wait_for(9));
  EXPECT_EQ(9u, result_->sub.session_id);
  log.expect_only("aaa_user_get_result", kForeign);
}

TEST_F(ResultWaitTime, TheRecordOfAForeignResultIsNotReleasedNorLoggedBehindAClosedGate) {
  foreign_results(1);
  const LogCapture log;
  const LibraryCounters counters;
  EXPECT_EQ(-22, wait_for(9, 0));
  EXPECT_EQ(blocks_of_a_result(), counters.blocks_allocated() - counters.blocks_freed());
  EXPECT_GT(blocks_of_a_result(), 0u);
  EXPECT_TRUE(log.lines().empty());
}

// A wait of 10 seconds for a session whose result does not come.
struct PollSequence {
  // How each call of poll() ends: after so many seconds, with a result or, without one, with a
  // foreign result.
  struct End {
    int seconds;
    std::optional<int> result = {};
  };

  std::string name;
  std::vector<End> ends;
  std::vector<int> timeouts;  // in milliseconds
  std::size_t timeout_lines;
};

using test::operator<<;  // the name of a sequence, not its bytes

const int kInterrupted = -1;  // by a signal

const PollSequence sequences[] = {
    {"foreign_results_leave_the_rest_of_the_time", {{3}, {4}}, {10000, 7000, 3000}, 1},
    {"foreign_results_within_a_second_take_none", {{0}, {0}, {0}}, {10000, 10000, 10000, 10000}, 1},
    {"a_foreign_result_uses_up_the_time", {{10}}, {10000}, 0},
    {"a_foreign_result_comes_after_the_time", {{50}}, {10000}, 0},
    {"interruptions_leave_the_rest_of_the_time",
     {{2, kInterrupted}, {0, kInterrupted}},
     {10000, 8000, 8000},
     1},
    {"an_interruption_uses_up_the_time", {{30, kInterrupted}}, {10000}, 0},
    {"a_datagram_that_somebody_else_took_is_not_waited_for", {{4, 1}}, {10000, 6000}, 1},
};

class PollSequences : public ResultWaitTime, public testing::WithParamInterface<PollSequence> {};

INSTANTIATE_TEST_SUITE_P(, PollSequences, testing::ValuesIn(sequences), row_name);

TEST_P(PollSequences, GiveMinus22AfterTheirTime) {
  std::deque<Wait> waits;
  int foreign = 0;
  for (const auto& [seconds, result] : GetParam().ends) {
    foreign += result ? 0 : 1;
    waits.push_back(result == kInterrupted ? with_error(EINTR, seconds) : ending(seconds, result));
  }
  foreign_results(foreign);
  const ScriptedCalls calls(waits_end(waits));
  const OpenLog log;
  EXPECT_EQ(-22, wait_for(9, 10));
  EXPECT_EQ(GetParam().timeouts, timeouts());
  EXPECT_EQ(GetParam().timeout_lines, log.count(kTimeout));
  EXPECT_EQ(static_cast<std::size_t>(foreign), log.count(kForeign));
  EXPECT_EQ(foreign + GetParam().timeout_lines, log.lines().size());
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
  Scripts scripts = waits_end({with_datagram()});
  scripts.recv = [this](int, void*, std::size_t, int) {
    clock_.advance(5);
    return std::optional<ssize_t>();
  };
  const ScriptedCalls calls(scripts);
  wait_for(9, 10);
  EXPECT_THAT(timeouts(), ElementsAre(10000, 10000));
}

TEST_F(ResultWaitTime, ASignalDoesNotEndTheWait) {
  handle_from_now_on(SIGUSR1, [](int) {});
  std::int32_t outcome = -1;
  std::thread waiter([&] { outcome = wait_for(9, 100); });
  EXPECT_TRUE(eventually([] { return published() == 9; })) << "nobody waits";
  for (int i = 0; i < 20; ++i) {
    pthread_kill(waiter.native_handle(), SIGUSR1);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  deliver(result_of(9));
  waiter.join();
  EXPECT_EQ(0, outcome);
}

}  // namespace
}  // namespace test
