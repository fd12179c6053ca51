// The first aaa_lib_mutex_init(): it makes free locks anew and leaves alone those that are held;
// when it fails, all of them can still be used.
#include <cstring>
#include <future>
#include <thread>

#include "session/session_test.h"

namespace {

using testing::ElementsAre;

pthread_mutex_t* const recursive_locks[] = {&aaa_lib_lock, &aaa_lib_send_buf_lock,
                                            &aaa::waiting_session_lock};

class LocksMadeAnew : public test::LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    aaa::g_mutex_init = 0;
  }
  void TearDown() override {
    aaa_lib_mutex_init();
    LibraryTest::TearDown();
  }

  // The locks that are made.
  static std::vector<pthread_mutex_t*> made_by_init() {
    std::vector<pthread_mutex_t*> made;
    const test::ScriptedCalls calls({.pthread_mutex_init = [&](pthread_mutex_t* lock) {
      made.push_back(lock);
      return std::optional<int>();
    }});
    EXPECT_EQ(0, aaa_lib_mutex_init());
    return made;
  }

  static void expect_recursive(pthread_mutex_t& lock) {
    EXPECT_EQ(0, pthread_mutex_trylock(&lock));
    EXPECT_EQ(0, pthread_mutex_trylock(&lock));
    EXPECT_FALSE(test::is_free(lock));
    EXPECT_EQ(0, pthread_mutex_unlock(&lock));
    EXPECT_EQ(0, pthread_mutex_unlock(&lock));
    EXPECT_TRUE(test::is_free(lock));
  }
  static void expect_all_recursive() {
    for (pthread_mutex_t* lock : recursive_locks)
      expect_recursive(*lock);
  }
};

TEST_F(LocksMadeAnew, ALockThatAClientHasMadeOtherwiseIsRecursiveAfterwards) {
  for (pthread_mutex_t* lock : recursive_locks)
    ASSERT_EQ(0, pthread_mutex_init(lock, nullptr));
  ASSERT_EQ(0, aaa_lib_mutex_init());
  expect_all_recursive();
}

TEST_F(LocksMadeAnew, ALockThatThisThreadHoldsStaysHeld) {
  for (pthread_mutex_t* held : recursive_locks) {
    aaa::g_mutex_init = 0;
    ASSERT_EQ(0, pthread_mutex_lock(held));
    EXPECT_THAT(made_by_init(),
                testing::AllOf(testing::SizeIs(2), testing::Not(testing::Contains(held))));
    EXPECT_EQ(1u, aaa::g_mutex_init);
    EXPECT_FALSE(test::is_free(*held));
    EXPECT_EQ(0, pthread_mutex_unlock(held));
    expect_all_recursive();
  }
}

// Holds a lock from its making until it is let go.
class Holder {
 public:
  explicit Holder(pthread_mutex_t& lock)
      : thread_([this, &lock] {
          held_.set_value(pthread_mutex_lock(&lock));
          let_go_.get_future().wait();
          unlocked_ = pthread_mutex_unlock(&lock);
        }) {
    EXPECT_EQ(0, held_.get_future().get());
  }
  ~Holder() { let_go(); }
  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;

  // What the holder's unlocking came to.
  int let_go() {
    if (thread_.joinable()) {
      let_go_.set_value();
      thread_.join();
    }
    return unlocked_;
  }

 private:
  std::promise<int> held_;
  std::promise<void> let_go_;
  int unlocked_ = -1;
  std::thread thread_;
};

TEST_F(LocksMadeAnew, ALockThatAnotherThreadHoldsStaysHeld) {
  for (pthread_mutex_t* held : recursive_locks) {
    aaa::g_mutex_init = 0;
    Holder holder(*held);
    EXPECT_THAT(made_by_init(),
                testing::AllOf(testing::SizeIs(2), testing::Not(testing::Contains(held))));
    EXPECT_FALSE(test::is_free(*held));
    EXPECT_EQ(0, holder.let_go()) << "it was no longer the holder's";
    expect_all_recursive();
  }
}

// The n-th lock cannot be made, and what was there is destroyed in the attempt.
test::Scripts destroying_at(int n) {
  return {.pthread_mutex_init = [left = n](pthread_mutex_t* lock) mutable -> std::optional<int> {
    if (--left != 0) return std::nullopt;
    std::memset(lock, 0xff, sizeof *lock);
    return EAGAIN;
  }};
}

TEST_F(LocksMadeAnew, AfterAFailureEachOfThemIsStillValidAndRecursive) {
  for (int n = 1; n <= 3; ++n) {
    SCOPED_TRACE("lock " + std::to_string(n));
    const test::ScriptedCalls calls(destroying_at(n));
    EXPECT_EQ(-1, aaa_lib_mutex_init());
    EXPECT_EQ(0u, aaa::g_mutex_init);
    expect_all_recursive();
  }
}

TEST_F(LocksMadeAnew, WithoutAttributesEachOfThemIsStillValidAndRecursive) {
  const test::ScriptedCalls calls({.pthread_mutexattr_init = [] { return ENOMEM; }});
  EXPECT_EQ(-1, aaa_lib_mutex_init());
  EXPECT_EQ(0u, aaa::g_mutex_init);
  expect_all_recursive();
}

TEST_F(LocksMadeAnew, AFailureLeavesALockThatIsHeld) {
  Holder holder(aaa_lib_lock);
  {
    const test::ScriptedCalls calls({.pthread_mutexattr_init = [] { return ENOMEM; }});
    EXPECT_EQ(-1, aaa_lib_mutex_init());
  }
  EXPECT_FALSE(test::is_free(aaa_lib_lock));
  EXPECT_EQ(0, holder.let_go());
  EXPECT_THAT(made_by_init(),
              ElementsAre(&aaa_lib_lock, &aaa_lib_send_buf_lock, &aaa::waiting_session_lock));
}

}  // namespace
