// What every event loop does with descriptors that it watches.
#include <gmock/gmock.h>
#include <sys/timerfd.h>
#include <time.h>

#include <chrono>

#include "agent_loop/event_loop.h"

namespace test::agent_loop {
namespace {

std::chrono::nanoseconds processor_time() {
  timespec time = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

}  // namespace

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

TEST_F(EventLoop, AReadRunsOnceWhenThereIsSomethingToRead) {
  read("r");
  timer(0, "before", [this] { EXPECT_THAT(ran_, ElementsAre("before")); });
  event("writes", [this] { make_readable(); });
  run();
  EXPECT_THAT(ran_, UnorderedElementsAre("before", "writes", "r"));
  EXPECT_EQ(ran_.back(), "r");
  EXPECT_EQ(scheduled(), 0U);
}

TEST_F(EventLoop, AReadRunsWhenThePeerCloses) {
  read("r");
  close_end(1);
  run();
  EXPECT_THAT(ran_, ElementsAre("r"));
}

TEST_F(EventLoop, AReadRunsAheadOfOthersAsLongAsThereIsMore) {
  for (int i = 0; i < 3; ++i)
    make_readable();
  std::function<void()> again = [&] {
    take_byte();
    read("r", again);
  };
  timer(0, "stops", [this] { stop(); });
  read("r", again);
  run();
  EXPECT_THAT(ran_, ElementsAre("r", "r", "r", "stops"));
}

TEST_F(EventLoop, ReadsThatAreAlwaysReadyTakeTurns) {
  int other[2] = {-1, -1};
  ASSERT_EQ(pipe(other), 0);
  ASSERT_EQ(write(other[1], "x", 1), 1);
  make_readable();
  std::function<void()> again = [&] { read("one", again); };
  read("one", again);
  read_of(other[0], "two", [this] { stop(); });
  run();
  EXPECT_EQ(ran_.back(), "two");
  close(other[0]);
  close(other[1]);
}

TEST_F(EventLoop, ManyDescriptorsMayBeWatched) {
  constexpr std::size_t count = 50;
  std::vector<int> copies;
  for (std::size_t i = 0; i < count; ++i) {
    copies.push_back(dup(pipe_[0]));
    EXPECT_NE(read_of(copies.back(), "r"), nullptr);
  }
  make_readable();
  run();
  EXPECT_EQ(ran_.size(), count);
  for (const int copy : copies)
    close(copy);
}

TEST_F(EventLoop, ATimerThatIsCancelledWhenItIsDueDoesNotEndTheWait) {
  const int later = timerfd_create(CLOCK_MONOTONIC, 0);
  const itimerspec moment = {{0, 0}, {0, 20000000}};
  ASSERT_EQ(timerfd_settime(later, 0, &moment, nullptr), 0);
  zv_thread* due = nullptr;
  read("cancels", [&] { zv_thread_cancel(due); });
  due = timer(0, "due");
  read_of(later, "later");
  make_readable();
  run();
  EXPECT_THAT(ran_, ElementsAre("cancels", "later"));
  close(later);
}

TEST_F(EventLoop, ADescriptorMayBeWatchedTwice) {
  read("one");
  read("two");
  make_readable();
  run();
  EXPECT_THAT(ran_, UnorderedElementsAre("one", "two"));
}

TEST_F(EventLoop, ANewWatchSurvivesTheOneThatItReplaces) {
  zv_thread* const replaced = read("replaced");
  read("new");
  zv_thread_cancel(replaced);
  make_readable();
  run();
  EXPECT_THAT(ran_, ElementsAre("new"));
}

TEST_F(EventLoop, AReadMayCloseItsDescriptor) {
  read("r", [this] { close_end(0); });
  make_readable();
  run();
  EXPECT_THAT(ran_, ElementsAre("r"));
}

TEST_F(EventLoop, AClosedDescriptorIsNeitherReadyNorKeepsTheLoopBusy) {
  zv_thread* const task = read("r");
  close_end(0);
  timer(1, "stops", [this] { stop(); });
  const auto before = processor_time();
  run();
  EXPECT_LT(processor_time() - before, std::chrono::milliseconds(300));
  EXPECT_THAT(ran_, ElementsAre("stops"));
  EXPECT_EQ(zv_host_scheduled(loop_, "r"), 1U);
  zv_thread_cancel(task);
}

TEST_F(EventLoop, TheNumberOfAClosedDescriptorMayBeWatchedAnew) {
  zv_thread* const task = read("closed");
  const int number = pipe_[0];
  close_end(0);
  zv_thread_cancel(task);
  int other[2] = {-1, -1};
  ASSERT_EQ(pipe(other), 0);
  if (other[0] != number) {
    ASSERT_EQ(dup2(other[0], number), number);
    close(other[0]);
  }
  pipe_[0] = number;
  close_end(1);
  pipe_[1] = other[1];
  read("anew", [this] { take_byte(); });
  event("writes", [this] { make_readable(); });
  run();
  EXPECT_THAT(ran_, ElementsAre("writes", "anew"));
}

TEST_F(EventLoop, AWatchedDescriptorMayBeClosedAndItsNumberWatchedByATask) {
  zv_thread* closed = nullptr;
  int other[2] = {-1, -1};
  event("e", [&] {
    const int number = pipe_[0];
    close_end(0);
    ASSERT_EQ(pipe(other), 0);
    EXPECT_EQ(other[0], number);
    zv_thread_cancel(closed);
    read_of(number, "anew");
    ASSERT_EQ(write(other[1], "x", 1), 1);
  });
  closed = read("closed");
  run();
  EXPECT_THAT(ran_, ElementsAre("e", "anew"));
  close(other[0]);
  close(other[1]);
}

}  // namespace test::agent_loop
