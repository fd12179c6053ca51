#include "zv_host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zv_thread.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

// A task's work, as its argument.
struct Work {
  std::function<void(zv_thread*)> action;
};

int run_work(zv_thread* task) {
  static_cast<Work*>(zv_host_argument(task))->action(task);
  return 77;  // the loop ignores it
}

class ZvHost : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(loop_, nullptr);
    ASSERT_EQ(pipe(pipe_), 0);
  }
  void TearDown() override {
    zv_host_destroy(loop_);
    close(pipe_[0]);
    close(pipe_[1]);
  }

  // Tasks that note their names, and do `action` then.
  zv_thread* event(
      const std::string& name, std::function<void()> action = [] {}) {
    return zv_thread_add_event_withname(loop_, run_work, work(name, action), 0, name.c_str());
  }
  zv_thread* timer(
      long seconds, const std::string& name, std::function<void()> action = [] {}) {
    return zv_thread_add_timer_withname(loop_, run_work, work(name, action), seconds, name.c_str());
  }
  zv_thread* read(
      const std::string& name, std::function<void()> action = [] {}) {
    return zv_thread_add_read_high_withname(loop_, run_work, work(name, action), pipe_[0],
                                            name.c_str());
  }
  void make_readable() const { ASSERT_EQ(write(pipe_[1], "x", 1), 1); }
  void run() { EXPECT_EQ(zv_host_run(loop_), 0); }
  std::size_t scheduled() const { return zv_host_scheduled(loop_, nullptr); }

  zv_thread_master* const loop_ = zv_host_create();
  int pipe_[2] = {-1, -1};
  std::vector<std::string> ran_;

 private:
  Work* work(const std::string& name, std::function<void()> action) {
    works_.push_back(std::make_unique<Work>(Work{[this, name, action](zv_thread*) {
      ran_.push_back(name);
      action();
    }}));
    return works_.back().get();
  }

  std::vector<std::unique_ptr<Work>> works_;
};

TEST_F(ZvHost, AnEventRunsOnceAndWithoutTasksTheLoopEndsAtOnce) {
  run();
  ASSERT_NE(event("e"), nullptr);
  EXPECT_THAT(ran_, IsEmpty());
  run();
  run();
  EXPECT_THAT(ran_, ElementsAre("e"));
}

TEST_F(ZvHost, ATimerRunsOnceAfterItsSeconds) {
  const auto start = std::chrono::steady_clock::now();
  timer(1, "second");
  timer(0, "now");
  run();
  EXPECT_THAT(ran_, ElementsAre("now", "second"));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(990));
}

TEST_F(ZvHost, ATimerOfThePastRunsAtOnceAndOneOfTheDistantFutureWaits) {
  timer(-5, "past");
  timer(LONG_MAX / 4000000, "never");
  event("e", [this] { timer(0, "stops", [this] { zv_host_stop(loop_); }); });
  run();
  EXPECT_THAT(ran_, UnorderedElementsAre("past", "e", "stops"));
}

TEST_F(ZvHost, AReadRunsOnceWhenThereIsSomethingToRead) {
  read("r");
  timer(0, "before", [this] { EXPECT_THAT(ran_, ElementsAre("before")); });
  event("writes", [this] { make_readable(); });
  run();
  EXPECT_THAT(ran_, UnorderedElementsAre("before", "writes", "r"));
  EXPECT_EQ(ran_.back(), "r");
  EXPECT_EQ(scheduled(), 0U);
}

TEST_F(ZvHost, AReadRunsWhenThePeerCloses) {
  read("r");
  close(pipe_[1]);
  run();
  EXPECT_THAT(ran_, ElementsAre("r"));
}

TEST_F(ZvHost, AReadRunsAheadOfWhatElseIsReady) {
  make_readable();
  for (int i = 0; i < 5; ++i)
    event("e");
  read("r");
  run();
  EXPECT_EQ(ran_.size(), 6U);
  EXPECT_EQ(ran_.front(), "r");
}

TEST_F(ZvHost, ATaskRunsAgainOnlyWhenItSchedulesItselfAgain) {
  int left = 5;
  std::function<void()> again = [&] {
    if (--left > 0) event("e", again);
  };
  event("e", again);
  run();
  EXPECT_EQ(ran_.size(), 5U);
}

TEST_F(ZvHost, AnEventThatSchedulesItselfForEverLetsOthersRun) {
  std::function<void()> again = [&] { event("busy", again); };
  event("busy", again);
  read("r", [this] { zv_host_stop(loop_); });
  timer(0, "writes", [this] { make_readable(); });
  run();
  EXPECT_EQ(ran_.back(), "r");
}

TEST_F(ZvHost, ATaskKnowsWhatItWasAddedWith) {
  Work work{[this](zv_thread* task) { EXPECT_EQ(zv_host_value(task), 42); }};
  zv_thread_add_event_withname(loop_, run_work, &work, 42, "value");
  run();
  Work descriptor{[this](zv_thread* task) { EXPECT_EQ(zv_host_value(task), pipe_[0]); }};
  make_readable();
  zv_thread_add_read_high_withname(loop_, run_work, &descriptor, pipe_[0], "descriptor");
  run();
}

TEST_F(ZvHost, ACancelledTaskDoesNotRun) {
  make_readable();
  for (zv_thread* task : {event("e"), timer(0, "t"), read("r")})
    zv_thread_cancel(task);
  EXPECT_EQ(scheduled(), 0U);
  run();
  EXPECT_THAT(ran_, IsEmpty());
}

TEST_F(ZvHost, ATaskMayCancelAnotherThatIsReadyToo) {
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

TEST_F(ZvHost, ATaskThatCancelsItselfFinishes) {
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

TEST_F(ZvHost, AReadOfAClosedDescriptorMayBeCancelled) {
  zv_thread* const task = read("r");
  close(pipe_[0]);
  zv_thread_cancel(task);
  run();
  ASSERT_EQ(pipe(pipe_), 0);
  make_readable();
  read("again");
  run();
  EXPECT_THAT(ran_, ElementsAre("again"));
}

TEST_F(ZvHost, StopEndsTheLoopAfterTheTaskAndItGoesOnThere) {
  bool finished = false;
  event("one", [&] {
    zv_host_stop(loop_);
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

TEST_F(ZvHost, CountsTheTasksThatWaitByName) {
  event("a", [this] { EXPECT_EQ(zv_host_scheduled(loop_, "a"), 1U); });
  zv_thread* const second = timer(3600, "a");
  zv_thread* const other = timer(3600, "b");
  EXPECT_EQ(zv_host_scheduled(loop_, "a"), 2U);
  EXPECT_EQ(zv_host_scheduled(loop_, "b"), 1U);
  EXPECT_EQ(zv_host_scheduled(loop_, "c"), 0U);
  EXPECT_EQ(scheduled(), 3U);
  zv_thread_cancel(other);
  timer(0, "stops", [this] { zv_host_stop(loop_); });
  run();
  EXPECT_EQ(zv_host_scheduled(loop_, "b"), 0U);
  zv_thread_cancel(second);
}

TEST_F(ZvHost, WhatCannotBeScheduledIsRefused) {
  EXPECT_EQ(zv_thread_add_event_withname(nullptr, run_work, nullptr, 0, "e"), nullptr);
  EXPECT_EQ(zv_thread_add_event_withname(loop_, nullptr, nullptr, 0, "e"), nullptr);
  EXPECT_EQ(zv_thread_add_timer_withname(nullptr, run_work, nullptr, 1, "t"), nullptr);
  EXPECT_EQ(zv_thread_add_read_high_withname(nullptr, run_work, nullptr, 0, "r"), nullptr);
  EXPECT_EQ(zv_thread_add_read_high_withname(loop_, run_work, nullptr, -1, "r"), nullptr);
  EXPECT_EQ(zv_thread_add_read_high_withname(loop_, run_work, nullptr, 1 << 20, "r"), nullptr);
  EXPECT_EQ(scheduled(), 0U);
}

TEST_F(ZvHost, ATaskMayHaveNoName) {
  Work work{[](zv_thread*) {}};
  EXPECT_NE(zv_thread_add_event_withname(loop_, run_work, &work, 0, nullptr), nullptr);
  EXPECT_EQ(zv_host_scheduled(loop_, ""), 1U);
  run();
}

TEST_F(ZvHost, LoopsAreIndependentAndReleasedWithTheTasksThatWait) {
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

}  // namespace
