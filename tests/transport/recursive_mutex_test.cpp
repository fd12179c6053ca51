// Making a recursive mutex.

#include <cerrno>

#include "support/library_test.h"
#include "support/lock_check.h"
#include "support/scripted_calls.h"

namespace {

class RecursiveMutex : public test::LibraryTest {
 protected:
  pthread_mutex_t mutex_ = {};
  test::LogCapture log_;
};

TEST_F(RecursiveMutex, MayBeLockedAgainByItsOwner) {
  ASSERT_EQ(0, aaa_lib_recursive_mutex_init(&mutex_));
  ASSERT_EQ(0, pthread_mutex_lock(&mutex_));
  ASSERT_EQ(0, pthread_mutex_trylock(&mutex_));
  EXPECT_FALSE(test::is_free(mutex_));
  pthread_mutex_unlock(&mutex_);
  EXPECT_FALSE(test::is_free(mutex_));
  pthread_mutex_unlock(&mutex_);
  EXPECT_TRUE(test::is_free(mutex_));
  pthread_mutex_destroy(&mutex_);
}

TEST_F(RecursiveMutex, AFailureIsReturnedAndReportedPastTheGate) {
  const test::ScriptedCalls calls({.pthread_mutex_init = [](pthread_mutex_t*) { return EAGAIN; }});
  EXPECT_EQ(11, aaa_lib_recursive_mutex_init(&mutex_));
  ASSERT_EQ(1u, log_.lines().size());
  const test::LogLine line = log_.lines().front();
  EXPECT_EQ("pthread_mutex_init fail return 11 error Resource temporarily unavailable exit.\n",
            line.text);
  EXPECT_EQ("pthread_mutex_init fail return %d error %s exit.\n", line.format);
  EXPECT_EQ(7, line.priority);
  EXPECT_EQ("UNKNOW_MODULE", line.module);
  EXPECT_EQ("DEBUG", line.submodule);
  EXPECT_EQ(2, line.kind);
}

TEST_F(RecursiveMutex, AFailureOfItsAttributesIsReturnedWithoutALine) {
  const test::ScriptedCalls calls(
      {.pthread_mutexattr_init = [] { return ENOMEM; },
       .pthread_mutex_init = [](pthread_mutex_t*) { return ADD_FAILURE(), 0; }});
  EXPECT_EQ(12, aaa_lib_recursive_mutex_init(&mutex_));
  EXPECT_TRUE(log_.lines().empty());
}

}  // namespace
