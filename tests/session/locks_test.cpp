// Making the library's three recursive locks.
#include <atomic>
#include <thread>

#include "session/session_test.h"

namespace {

class Locks : public test::LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    aaa::g_mutex_init = 0;
  }
  void TearDown() override {
    aaa_lib_mutex_init();
    LibraryTest::TearDown();
  }

  // Notes the locks that are made; the n-th cannot be.
  test::Scripts failing_at(std::size_t n) {
    return {.pthread_mutex_init = [this, n](pthread_mutex_t* lock) -> std::optional<int> {
      made_.push_back(lock);
      if (made_.size() == n) return EAGAIN;
      return std::nullopt;
    }};
  }

  std::vector<pthread_mutex_t*> made_;
};

TEST_F(Locks, AreMadeInTheirOrder) {
  const test::ScriptedCalls calls(failing_at(0));
  EXPECT_EQ(0, aaa_lib_mutex_init());
  EXPECT_EQ(1u, aaa::g_mutex_init);
  EXPECT_THAT(made_, testing::ElementsAre(&aaa_lib_lock, &aaa_lib_send_buf_lock,
                                          &aaa::waiting_session_lock));
}

TEST_F(Locks, AreMadeOnce) {
  ASSERT_EQ(0, aaa_lib_mutex_init());
  const test::ScriptedCalls calls(failing_at(1));
  EXPECT_EQ(0, aaa_lib_mutex_init());
  EXPECT_TRUE(made_.empty());
}

TEST_F(Locks, AreRecursive) {
  ASSERT_EQ(0, aaa_lib_mutex_init());
  for (pthread_mutex_t* lock :
       {&aaa_lib_lock, &aaa_lib_send_buf_lock, &aaa::waiting_session_lock}) {
    ASSERT_EQ(0, pthread_mutex_lock(lock));
    EXPECT_EQ(0, pthread_mutex_trylock(lock));
    pthread_mutex_unlock(lock);
    pthread_mutex_unlock(lock);
    EXPECT_TRUE(test::is_free(*lock));
  }
}

TEST_F(Locks, AFailureOfAnyLeavesNoneAndIsReturned) {
  for (std::size_t n = 1; n <= 3; ++n) {
    made_.clear();
    const test::ScriptedCalls calls(failing_at(n));
    EXPECT_EQ(-1, aaa_lib_mutex_init());
    EXPECT_EQ(n, made_.size());
    EXPECT_EQ(0u, aaa::g_mutex_init);
  }
}

TEST_F(Locks, CanBeMadeAfterAFailure) {
  {
    const test::ScriptedCalls calls(failing_at(2));
    EXPECT_EQ(-1, aaa_lib_mutex_init());
  }
  EXPECT_EQ(0, aaa_lib_mutex_init());
  EXPECT_EQ(1u, aaa::g_mutex_init);
}

TEST_F(Locks, AreMadeOnceByThreadsThatComeTogether) {
  std::atomic<int> made = 0;
  const test::ScriptedCalls calls({.pthread_mutex_init = [&](pthread_mutex_t*) {
    ++made;
    return std::optional<int>();
  }});
  std::thread first(aaa_lib_mutex_init);
  std::thread second(aaa_lib_mutex_init);
  first.join();
  second.join();
  EXPECT_EQ(3, made);
}

TEST_F(Locks, ADoneCallBeforeTheirMakingIsSafe) {
  EXPECT_EQ(0, aaa_svr_dereg());
  EXPECT_EQ(1u, aaa::g_mutex_init);
}

}  // namespace
