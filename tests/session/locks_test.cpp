// The library's recursive locks: as loaded, and made anew by the first aaa_lib_mutex_init(), which
// leaves alone those that are held; when it fails, all of them can still be used.
#include <future>

#include "session/session_test.h"

namespace test::locks {

// Whether a lock can be locked twice by its owner, who keeps others out until the second unlocking.
bool is_recursive(pthread_mutex_t& lock) {
  const bool locked = pthread_mutex_trylock(&lock) == 0 && pthread_mutex_trylock(&lock) == 0;
  const bool keeps_others_out = !is_free(lock);
  const bool unlocked = pthread_mutex_unlock(&lock) == 0 && pthread_mutex_unlock(&lock) == 0;
  return locked && keeps_others_out && unlocked && is_free(lock);
}

// Before main() runs, and anything has been called.
const bool lib_lock_was_recursive = is_recursive(aaa_lib_lock);
const bool buffer_lock_was_recursive = is_recursive(aaa_lib_send_buf_lock);

TEST(LocksAtLoad, AreValidAndRecursive) {
  EXPECT_TRUE(lib_lock_was_recursive);
  EXPECT_TRUE(buffer_lock_was_recursive);
}

pthread_mutex_t* const recursive_locks[] = {&aaa_lib_lock, &aaa_lib_send_buf_lock,
                                            &aaa::waiting_session_lock};

class Locks : public LibraryTest {
 protected:
  Locks() { aaa::g_mutex_init = 0; }
  ~Locks() override { aaa_lib_mutex_init(); }

  // The locks that are made by a call with this result. The n-th of them cannot be made, and what
  // was there is destroyed in the attempt.
  static std::vector<pthread_mutex_t*> made_by_init(std::int32_t result, std::size_t failing = 0) {
    std::vector<pthread_mutex_t*> made;
    const auto init = [&](pthread_mutex_t* lock) -> std::optional<int> {
      made.push_back(lock);
      if (made.size() != failing) return std::nullopt;
      std::memset(lock, 0xff, sizeof *lock);
      return EAGAIN;
    };
    const ScriptedCalls calls({.pthread_mutex_init = init});
    EXPECT_EQ(result, aaa_lib_mutex_init());
    EXPECT_EQ(result == 0 ? 1u : 0u, aaa::g_mutex_init);
    return made;
  }
  static void expect_init_without_attributes_fails() {
    const ScriptedCalls calls({.pthread_mutexattr_init = returning(ENOMEM)});
    EXPECT_EQ(-1, aaa_lib_mutex_init());
    EXPECT_EQ(0u, aaa::g_mutex_init);
  }
  static void expect_all_recursive() {
    for (pthread_mutex_t* lock : recursive_locks)
      EXPECT_TRUE(is_recursive(*lock));
  }
  // Makes all but the one that is held.
  static void expect_others_made(pthread_mutex_t* held) {
    EXPECT_THAT(made_by_init(0), testing::AllOf(testing::SizeIs(2), testing::Not(Contains(held))));
    EXPECT_FALSE(is_free(*held));
  }
};

TEST_F(Locks, AreMadeOnceAndInTheirOrder) {
  EXPECT_THAT(made_by_init(0),
              ElementsAre(&aaa_lib_lock, &aaa_lib_send_buf_lock, &aaa::waiting_session_lock));
  expect_all_recursive();
  EXPECT_THAT(made_by_init(0, 1), IsEmpty());
}

TEST_F(Locks, AreMadeOnceByThreadsThatComeTogether) {
  std::atomic<int> made = 0;
  const ScriptedCalls calls({.pthread_mutex_init = noting([&] { ++made; })});
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

TEST_F(Locks, ThatAClientHasMadeOtherwiseAreRecursiveAfterwards) {
  for (pthread_mutex_t* lock : recursive_locks)
    ASSERT_EQ(0, pthread_mutex_init(lock, nullptr));
  ASSERT_EQ(0, aaa_lib_mutex_init());
  expect_all_recursive();
}

TEST_F(Locks, ThatThisThreadHoldsStayHeld) {
  for (pthread_mutex_t* held : recursive_locks) {
    aaa::g_mutex_init = 0;
    ASSERT_EQ(0, pthread_mutex_lock(held));
    expect_others_made(held);
    EXPECT_EQ(0, pthread_mutex_unlock(held));
    expect_all_recursive();
  }
}

// Holds a lock on a thread of its own until it is unlocked.
class Holder {
 public:
  explicit Holder(pthread_mutex_t& lock)
      : thread_([this, &lock] {
          locked_.set_value(pthread_mutex_lock(&lock));
          go_on_.get_future().wait();
          result_ = pthread_mutex_unlock(&lock);
        }) {
    EXPECT_EQ(0, locked_.get_future().get());
  }
  int unlock() {
    go_on_.set_value();
    thread_.join();
    return result_;
  }

 private:
  std::promise<int> locked_;
  std::promise<void> go_on_;
  int result_ = -1;
  std::thread thread_;
};

TEST_F(Locks, ThatAnotherThreadHoldsStayHeld) {
  for (pthread_mutex_t* held : recursive_locks) {
    aaa::g_mutex_init = 0;
    Holder holder(*held);
    expect_others_made(held);
    EXPECT_EQ(0, holder.unlock()) << "it was no longer the holder's";
    expect_all_recursive();
  }
}

TEST_F(Locks, AreValidAndRecursiveAfterAFailureOfAnyAndCanThenBeMade) {
  for (std::size_t n = 1; n <= 3; ++n) {
    EXPECT_EQ(n, made_by_init(-1, n).size());
    expect_all_recursive();
  }
  expect_init_without_attributes_fails();
  expect_all_recursive();
  EXPECT_EQ(3u, made_by_init(0).size());
}

TEST_F(Locks, AFailureLeavesALockThatIsHeld) {
  Holder holder(aaa_lib_lock);
  expect_init_without_attributes_fails();
  EXPECT_FALSE(is_free(aaa_lib_lock));
  EXPECT_EQ(0, holder.unlock());
  EXPECT_EQ(3u, made_by_init(0).size());
}

}  // namespace test::locks
