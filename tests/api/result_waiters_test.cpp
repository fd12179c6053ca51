// Waiting threads: two at once, one that is cancelled, one that is woken by a lost connection.
#include <pthread.h>

#include <thread>

#include "api/waiting_test.h"
#include "support/intended_leak.h"

namespace test {
namespace {

class ResultWaiters : public WaitingTest {
 protected:
  static bool is_waited_for(std::uint32_t session_id) {
    return eventually([=] { return published() == session_id; });
  }
};

TEST_F(ResultWaiters, ASecondWaiterOverwritesThePublishedIdAndEveryReturnClearsIt) {
  const std::thread::id second = std::this_thread::get_id();
  std::uint32_t seen = 0;
  const ScriptedCalls calls({.poll = [&](int, int) -> std::optional<int> {
    if (std::this_thread::get_id() != second) return std::nullopt;
    seen = published();
    return 0;
  }});
  std::int32_t first_outcome = -1;
  Result first_result;
  std::thread first([&] {
    result_info* result = nullptr;
    first_outcome = aaa_user_get_result(5, 0, 100, &result);
    first_result.reset(result);
  });
  ASSERT_TRUE(is_waited_for(5));
  EXPECT_EQ(-22, wait_for(6));
  EXPECT_EQ(6u, seen);
  EXPECT_EQ(0u, published());
  deliver(result_of(5));
  first.join();
  EXPECT_EQ(0, first_outcome);
  EXPECT_EQ(5u, first_result->sub.session_id);
  EXPECT_EQ(0u, published());
}

TEST_F(ResultWaiters, TwoWaitersForOneDatagramBothReturn) {
  const LibraryCounters counters;
  std::int32_t outcomes[2] = {};
  Result results[2];
  const auto wait = [&](std::size_t n) {
    const IntendedLeak dropped_result;
    result_info* result = nullptr;
    outcomes[n] = aaa_user_get_result(static_cast<std::uint32_t>(5 + n), 0, 1, &result);
    results[n].reset(result);
  };
  std::thread first(wait, 0);
  std::thread second(wait, 1);
  EXPECT_TRUE(eventually([] { return published() != 0; })) << "nobody waits";
  deliver(result_of(5));
  first.join();
  second.join();
  EXPECT_EQ(-22, outcomes[1]);
  EXPECT_EQ(outcomes[0] == 0, results[0] != nullptr);
  EXPECT_EQ(0u, published());
  results[0].reset();
  // When the second took the first one's result, it dropped it.
  const std::uint32_t left = counters.blocks_allocated() - counters.blocks_freed();
  EXPECT_EQ(outcomes[0] == 0 ? 0u : blocks_of_a_result(), left);
  expect_blocks_left(left);
}

// A waiting thread that can be cancelled.
class CancelledWaiter : public ResultWaiters {
 protected:
  void start(int cancel_state) {
    state_ = cancel_state;
    ASSERT_EQ(0, pthread_create(&thread_, nullptr, run, this));
    ASSERT_TRUE(is_waited_for(9));
  }
  void* join() {
    void* value = nullptr;
    pthread_join(thread_, &value);
    return value;
  }

  pthread_t thread_ = 0;
  int state_ = 0;
  int state_afterwards_ = -1;
  std::int32_t outcome_ = -1;

 private:
  static void* run(void* argument) {
    auto& self = *static_cast<CancelledWaiter*>(argument);
    int ignored = 0;
    pthread_setcancelstate(self.state_, &ignored);
    self.outcome_ = self.wait_for(9, 100);
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &self.state_afterwards_);
    return nullptr;
  }
};

TEST_F(CancelledWaiter, PublishesNobodyLeavesNoBlockAndThePairUsable) {
  const LibraryCounters counters;
  start(PTHREAD_CANCEL_ENABLE);
  pthread_cancel(thread_);
  EXPECT_EQ(PTHREAD_CANCELED, join());
  EXPECT_EQ(0u, published());
  EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed());
  deliver(result_of(9));
  EXPECT_EQ(0, wait_for(9));
}

TEST_F(CancelledWaiter, IsNotCancelledWhereTheClientForbidsIt) {
  start(PTHREAD_CANCEL_DISABLE);
  pthread_cancel(thread_);
  deliver(result_of(9));
  EXPECT_EQ(nullptr, join());
  EXPECT_EQ(0, outcome_);
  EXPECT_EQ(PTHREAD_CANCEL_DISABLE, state_afterwards_);
}

TEST_F(CancelledWaiter, KeepsItsOwnCancellationState) {
  start(PTHREAD_CANCEL_ENABLE);
  deliver(result_of(9));
  join();
  EXPECT_EQ(PTHREAD_CANCEL_ENABLE, state_afterwards_);
}

TEST_F(ResultWaiters, ALostConnectionWakesTheWaiterWithCode2) {
  std::int32_t outcome = -1;
  std::thread waiter([&] { outcome = wait_for(9, 100); });
  ASSERT_TRUE(is_waited_for(9));
  aaa::aaa_notify_timeout(aaa::link_number());
  waiter.join();
  ASSERT_EQ(0, outcome);
  EXPECT_EQ(9u, result_->sub.session_id);
  EXPECT_EQ(2u, result_->sub.num_a);
}

TEST_F(ResultWaiters, TheLossOfAnEarlierConnectionDoesNotWakeTheWaiter) {
  const aaa::LinkNumber earlier = aaa::link_number();
  aaa::end_link();
  std::int32_t outcome = -1;
  std::thread waiter([&] { outcome = wait_for(9, 100); });
  ASSERT_TRUE(is_waited_for(9));
  aaa::aaa_notify_timeout(earlier);
  deliver(result_of(9));
  waiter.join();
  ASSERT_EQ(0, outcome);
  EXPECT_NE(2u, result_->sub.num_a);
}

}  // namespace
}  // namespace test
