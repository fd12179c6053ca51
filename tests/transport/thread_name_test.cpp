// Naming the calling thread.

#include <gmock/gmock.h>
#include <sys/prctl.h>

#include <thread>

#include "support/library_test.h"

namespace {

class ThreadName : public test::LibraryTest {
 protected:
  // What set_thread_name() left in the buffer; system_name_ is what the thread is called.
  std::string name_a_thread(const std::string& name) {
    char buffer[32] = {};
    name.copy(buffer, sizeof buffer - 1);
    std::thread([&] {
      set_thread_name(buffer);
      char current[16] = {};
      prctl(PR_GET_NAME, current);
      system_name_ = current;
    }).join();
    return buffer;
  }

  std::string system_name_;
  test::LogCapture log_;
};

TEST_F(ThreadName, IsGivenToTheCallingThread) {
  EXPECT_EQ("12_aaalib_th", name_a_thread("12_aaalib_th"));
  EXPECT_EQ("12_aaalib_th", system_name_);
}

TEST_F(ThreadName, OfTwentyCharactersIsCutTo15InTheBufferToo) {
  EXPECT_EQ("0123456789abcde", name_a_thread("0123456789abcdefghij"));
  EXPECT_EQ("0123456789abcde", system_name_);
}

TEST_F(ThreadName, IsReportedAsTheKernelKeptIt) {
  const test::OpenGate gate;
  name_a_thread("0123456789abcdefghij");
  EXPECT_THAT(log_.messages(), testing::ElementsAre("thread name: 0123456789abcde.\r\n"));
  EXPECT_EQ("set_thread_name", log_.lines().front().function());
}

TEST_F(ThreadName, IsNotReportedBehindAClosedGate) {
  name_a_thread("name");
  EXPECT_TRUE(log_.lines().empty());
}

TEST_F(ThreadName, NoNameChangesNothing) {
  const test::OpenGate gate;
  set_thread_name(nullptr);
  EXPECT_TRUE(log_.lines().empty());
}

}  // namespace
