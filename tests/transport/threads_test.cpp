// What threads need: making a recursive mutex, naming the calling thread.
#include <sys/prctl.h>

#include "support/library_test.h"

namespace test::threads {

class RecursiveMutex : public LibraryTest {
 protected:
  pthread_mutex_t mutex_ = {};
  LogCapture log_;
};

TEST_F(RecursiveMutex, MayBeLockedAgainByItsOwner) {
  ASSERT_EQ(0, aaa_lib_recursive_mutex_init(&mutex_));
  ASSERT_EQ(0, pthread_mutex_lock(&mutex_));
  ASSERT_EQ(0, pthread_mutex_trylock(&mutex_));
  EXPECT_FALSE(is_free(mutex_));
  pthread_mutex_unlock(&mutex_);
  EXPECT_FALSE(is_free(mutex_));
  pthread_mutex_unlock(&mutex_);
  EXPECT_TRUE(is_free(mutex_));
  pthread_mutex_destroy(&mutex_);
}

TEST_F(RecursiveMutex, AFailureIsReturnedAndReportedPastTheGate) {
  const ScriptedCalls calls({.pthread_mutex_init = returning(EAGAIN)});
  EXPECT_EQ(11, aaa_lib_recursive_mutex_init(&mutex_));
  ASSERT_EQ(1u, log_.lines().size());
  const LogLine line = log_.lines().front();
  EXPECT_EQ("pthread_mutex_init fail return %d error %s exit.\n", line.format);
  expect_ungated(
      line, "pthread_mutex_init fail return 11 error Resource temporarily unavailable exit.\n");
}

TEST_F(RecursiveMutex, AFailureOfItsAttributesOrANullPointerIsReturnedWithoutALine) {
  EXPECT_EQ(22, aaa_lib_recursive_mutex_init(nullptr));
  const ScriptedCalls calls(
      {.pthread_mutexattr_init = returning(ENOMEM), .pthread_mutex_init = unwanted()});
  EXPECT_EQ(12, aaa_lib_recursive_mutex_init(&mutex_));
  EXPECT_TRUE(log_.lines().empty());
}

class ThreadName : public LibraryTest {
 protected:
  // Expects that a thread is named so, in the buffer and by the system.
  static void expect_name(const std::string& given, const std::string& name) {
    char buffer[32] = {};
    char current[16] = {};
    given.copy(buffer, sizeof buffer - 1);
    std::thread([&] {
      set_thread_name(buffer);
      prctl(PR_GET_NAME, current);
    }).join();
    EXPECT_EQ(name, buffer);
    EXPECT_EQ(name, current);
  }

  LogCapture log_;
};

TEST_F(ThreadName, IsGivenToTheCallingThreadCutTo15CharactersInTheBufferToo) {
  expect_name("12_aaalib_th", "12_aaalib_th");
  expect_name("0123456789abcdefghij", "0123456789abcde");
  EXPECT_TRUE(log_.lines().empty()) << "behind a closed gate";
}

TEST_F(ThreadName, IsReportedAsTheKernelKeptIt) {
  const OpenGate gate;
  expect_name("0123456789abcdefghij", "0123456789abcde");
  EXPECT_THAT(log_.messages(), ElementsAre("thread name: 0123456789abcde.\r\n"));
  EXPECT_THAT(log_.functions(), ElementsAre("set_thread_name"));
}

TEST_F(ThreadName, OfANullPointerChangesNothing) {
  const OpenGate gate;
  set_thread_name(nullptr);
  EXPECT_TRUE(log_.lines().empty());
}

}  // namespace test::threads
