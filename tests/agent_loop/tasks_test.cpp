// What every event loop does with its tasks.
#include <gmock/gmock.h>
#include <sys/time.h>

#include <chrono>
#include <climits>
#include <thread>
#include <utility>

#include "agent_loop/event_loop.h"
#include "support/leak_check.h"
#include "support/signal_handler.h"

namespace test::agent_loop {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

TEST_F(EventLoop, AnEventRunsOnceAndWithoutTasksTheLoopEndsAtOnce) {
  run();
  ASSERT_NE(event("e"), nullptr);
  EXPECT_THAT(ran_, IsEmpty());
  run();
  run();
  EXPECT_THAT(ran_, ElementsAre("e"));
}

TEST_F(EventLoop, ATimerRunsOnceAfterItsSeconds) {
  const auto start = std::chrono::steady_clock::now();
  timer(1, "second");
  timer(0, "now");
  zv_thread_cancel(timer(0, "cancelled"));
  run();
  EXPECT_THAT(ran_, ElementsAre("now", "second"));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(990));
}

TEST_F(EventLoop, ATimerOfThePastRunsAtOnceAndOneOfTheDistantFutureWaits) {
  timer(-5, "past");
  timer(LONG_MAX, "never");
  timer(LONG_MAX / 4000000, "neither");
  event("e", [this] { timer(0, "stops", [this] { stop(); }); });
  run();
  EXPECT_THAT(ran_, UnorderedElementsAre("past", "e", "stops"));
}

TEST_F(EventLoop, TimersThatAreLateRunInOrderOfTime) {
  for (const char* name : {"a", "b", "c", "d", "e"}) {
    timer(0, name);
    // Longer than a tick, which is the unit of time of a loop on a coarse clock.
    std::this_thread::sleep_for(std::chrono::milliseconds(15));
  }
  run();
  EXPECT_THAT(ran_, ElementsAre("a", "b", "c", "d", "e"));
}

TEST_F(EventLoop, ASoonerTimerGoesAheadOfOneThatWaits) {
  zv_thread* const later = timer(3600, "later");
  timer(0, "sooner", [this] { stop(); });
  run();
  EXPECT_THAT(ran_, ElementsAre("sooner"));
  zv_thread_cancel(later);
}

TEST_F(EventLoop, AReadRunsAheadOfWhatElseIsReady) {
  make_readable();
  for (int i = 0; i < 5; ++i)
    event("e");
  read("r");
  run();
  EXPECT_EQ(ran_.size(), 6U);
  EXPECT_EQ(ran_.front(), "r");
}

TEST_F(EventLoop, ATaskRunsAgainOnlyWhenItSchedulesItselfAgain) {
  int left = 5;
  std::function<void()> again = [&] {
    if (--left > 0) event("e", again);
  };
  event("e", again);
  run();
  EXPECT_EQ(ran_.size(), 5U);
}

TEST_F(EventLoop, AnEventThatSchedulesItselfForEverLetsOthersRun) {
  std::function<void()> again = [&] { event("busy", again); };
  event("busy", again);
  read("r", [this] { stop(); });
  timer(0, "writes", [this] { make_readable(); });
  run();
  EXPECT_EQ(ran_.back(), "r");
}

TEST_F(EventLoop, ATaskKnowsWhatItWasAddedWith) {
  Work work{[this](zv_thread* task) { EXPECT_EQ(zv_host_value(task), 42); }};
  zv_thread_add_event_withname(loop_, run_work, &work, 42, "value");
  run();
  Work descriptor{[this](zv_thread* task) { EXPECT_EQ(zv_host_value(task), pipe_[0]); }};
  make_readable();
  zv_thread_add_read_high_withname(loop_, run_work, &descriptor, pipe_[0], "descriptor");
  run();
}

TEST_F(EventLoop, ACancelledTaskDoesNotRun) {
  make_readable();
  for (zv_thread* task : {event("e"), timer(0, "t"), read("r")})
    zv_thread_cancel(task);
  EXPECT_EQ(scheduled(), 0U);
  run();
  EXPECT_THAT(ran_, IsEmpty());
}

TEST_F(EventLoop, ATaskMayCancelAnotherThatIsReadyToo) {
  zv_thread* tasks[2] = {};
  tasks[0] = event("first", [&] { zv_thread_cancel(tasks[1]); });
  tasks[1] = event("second", [&] { zv_thread_cancel(tasks[0]); });
  run();
  EXPECT_EQ(ran_.size(), 1U);
  make_readable();
  zv_thread* const other = event("e");
  read("r", [&] { zv_thread_cancel(other); });
  run();
  EXPECT_EQ(ran_.size(), 2U);
  EXPECT_EQ(ran_.back(), "r");
}

TEST_F(EventLoop, ATaskThatCancelsItselfFinishes) {
  zv_thread* self = nullptr;
  bool finished = false;
  self = event("e", [&] {
    zv_thread_cancel(self);
    zv_thread_cancel(self);
    finished = true;
  });
  run();
  EXPECT_TRUE(finished);
}

TEST_F(EventLoop, StopEndsTheLoopAfterTheTaskAndItGoesOnThere) {
  bool finished = false;
  event("one", [&] {
    stop();
    finished = true;
  });
  zv_thread* const later = timer(3600, "stays");
  run();
  EXPECT_TRUE(finished);
  EXPECT_EQ(zv_host_scheduled(loop_, "stays"), 1U);
  zv_thread_cancel(later);
  event("two");
  run();
  EXPECT_THAT(ran_, ElementsAre("one", "two"));
}

TEST_F(EventLoop, CountsTheTasksThatWaitByName) {
  event("a", [this] { EXPECT_EQ(zv_host_scheduled(loop_, "a"), 1U); });
  zv_thread* const second = timer(3600, "a");
  zv_thread* const other = timer(3600, "b");
  EXPECT_EQ(zv_host_scheduled(loop_, "a"), 2U);
  EXPECT_EQ(zv_host_scheduled(loop_, "b"), 1U);
  EXPECT_EQ(zv_host_scheduled(loop_, "c"), 0U);
  EXPECT_EQ(scheduled(), 3U);
  zv_thread_cancel(other);
  timer(0, "stops", [this] { stop(); });
  run();
  EXPECT_EQ(zv_host_scheduled(loop_, "b"), 0U);
  zv_thread_cancel(second);
}

TEST_F(EventLoop, WhatCannotBeScheduledIsRefused) {
  EXPECT_EQ(zv_thread_add_event_withname(nullptr, run_work, nullptr, 0, "e"), nullptr);
  EXPECT_EQ(zv_thread_add_event_withname(loop_, nullptr, nullptr, 0, "e"), nullptr);
  EXPECT_EQ(zv_thread_add_timer_withname(nullptr, run_work, nullptr, 1, "t"), nullptr);
  EXPECT_EQ(zv_thread_add_read_high_withname(nullptr, run_work, nullptr, 0, "r"), nullptr);
  EXPECT_EQ(zv_thread_add_read_high_withname(loop_, run_work, nullptr, -1, "r"), nullptr);
  EXPECT_EQ(zv_thread_add_read_high_withname(loop_, run_work, nullptr, 1 << 20, "r"), nullptr);
  EXPECT_EQ(scheduled(), 0U);
}

TEST_F(EventLoop, ATaskMayHaveNoName) {
  Work work{[](zv_thread*) {}};
  EXPECT_NE(zv_thread_add_event_withname(loop_, run_work, &work, 0, nullptr), nullptr);
  EXPECT_EQ(zv_host_scheduled(loop_, ""), 1U);
  run();
}

TEST_F(EventLoop, LoopsAreIndependentAndReleasedWithTheTasksThatWait) {
  zv_thread_master* const other = zv_host_create();
  Work work{[](zv_thread*) { ADD_FAILURE() << "runs on the wrong loop"; }};
  zv_thread_add_event_withname(other, run_work, &work, 0, "other");
  zv_thread_add_timer_withname(other, run_work, nullptr, 3600, "t");
  zv_thread_add_read_high_withname(other, run_work, nullptr, pipe_[0], "r");
  event("e");
  run();
  EXPECT_THAT(ran_, ElementsAre("e"));
  zv_host_destroy(other);
  zv_host_destroy(nullptr);
}

TEST_F(EventLoop, SignalsDoNotEndTheWait) {
  handle_from_now_on(SIGALRM, [](int) {});
  const itimerval often = {{0, 10000}, {0, 10000}};
  ASSERT_EQ(setitimer(ITIMER_REAL, &often, nullptr), 0);
  timer(1, "t");
  const auto start = std::chrono::steady_clock::now();
  run();
  const itimerval never = {};
  setitimer(ITIMER_REAL, &never, nullptr);
  EXPECT_THAT(ran_, ElementsAre("t"));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(990));
}

TEST_F(EventLoop, TasksOfAnotherThreadRunOnTheLoopsThread) {
  std::vector<std::thread::id> threads;
  const auto note_thread = [&] { threads.push_back(std::this_thread::get_id()); };
  event("e", note_thread);
  timer(0, "t", note_thread);
  read("r", note_thread);
  make_readable();
  std::thread thread([this] { run(); });
  const std::thread::id loops_thread = thread.get_id();
  thread.join();
  EXPECT_THAT(threads, ElementsAre(loops_thread, loops_thread, loops_thread));
}

TEST_F(EventLoop, AStoppedLoopReleasesItsTasksAndDescriptorsAndLeavesTheClients) {
  const std::size_t descriptors = open_descriptors();
  zv_thread_master* const outer = std::exchange(loop_, zv_host_create());
  event("e", [this] {
    event("waits");
    timer(3600, "waits");
    read("waits");
    stop();
  });
  run();
  EXPECT_EQ(zv_host_scheduled(loop_, "waits"), 3U);
  zv_host_destroy(std::exchange(loop_, outer));
  EXPECT_EQ(open_descriptors(), descriptors);
  make_readable();
  take_byte();
}

}  // namespace test::agent_loop
