// The exported locks before anything has been called. They are used before main() runs.
#include <pthread.h>

#include <gtest/gtest.h>

#include "aaa_client.h"
#include "support/lock_check.h"

namespace {

// What locking twice and unlocking twice came to.
struct UsedTwice {
  explicit UsedTwice(pthread_mutex_t& lock)
      : first(pthread_mutex_trylock(&lock)),
        second(pthread_mutex_trylock(&lock)),
        excluded_others(!test::is_free(lock)),
        unlocked(pthread_mutex_unlock(&lock)),
        unlocked_again(pthread_mutex_unlock(&lock)),
        let_others_in(test::is_free(lock)) {}

  int first;
  int second;
  bool excluded_others;
  int unlocked;
  int unlocked_again;
  bool let_others_in;
};
const UsedTwice lib_lock_at_load(aaa_lib_lock);
const UsedTwice buffer_lock_at_load(aaa_lib_send_buf_lock);

void expect_recursive(const UsedTwice& use) {
  EXPECT_EQ(0, use.first);
  EXPECT_EQ(0, use.second);
  EXPECT_TRUE(use.excluded_others);
  EXPECT_EQ(0, use.unlocked);
  EXPECT_EQ(0, use.unlocked_again);
  EXPECT_TRUE(use.let_others_in);
}

TEST(LocksAtLoad, TheLockOfTheLibraryIsValidAndRecursive) {
  expect_recursive(lib_lock_at_load);
}

TEST(LocksAtLoad, TheLockOfTheSendBufferIsValidAndRecursive) {
  expect_recursive(buffer_lock_at_load);
}

}  // namespace
