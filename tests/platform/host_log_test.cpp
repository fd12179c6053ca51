#include "host_log.h"

#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include "printk_syslog_ext.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

struct SyslogLine {
  int priority;
  std::string text;
  bool operator==(const SyslogLine&) const = default;
};

std::vector<SyslogLine> syslog_lines;

}  // namespace

// Takes the place of the C library's, so that a test sees what would reach the system log.
extern "C" void syslog(int priority, const char* format, ...) {
  char text[4096];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  syslog_lines.push_back({priority, text});
}

namespace {

// Standard error is a packet socket: each write arrives as a packet of its own.
class HostLog : public ::testing::Test {
 protected:
  void SetUp() override {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    standard_error_ = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);
    reader_ = ends[0];
    syslog_lines.clear();
    host_log_to(HOST_LOG_STDERR);
  }

  void TearDown() override {
    dup2(standard_error_, STDERR_FILENO);
    close(standard_error_);
    close(reader_);
    unsetenv("AAA_HOST_LOG");
    host_log_from_environment();
  }

  std::vector<std::string> Writes() const {
    std::vector<std::string> writes;
    char packet[4096];
    ssize_t length;
    while ((length = recv(reader_, packet, sizeof packet, MSG_DONTWAIT)) > 0) {
      writes.emplace_back(packet, static_cast<size_t>(length));
    }
    return writes;
  }

  template <class... Arguments>
  static void log(const char* format, Arguments... arguments) {
    printk_syslog_ext(7, "AAA", "CLIENT", 1, format, arguments...);
  }

  static void ChooseByEnvironment(const char* name) {
    setenv("AAA_HOST_LOG", name, 1);
    host_log_from_environment();
  }

 private:
  int standard_error_ = -1;
  int reader_ = -1;
};

TEST_F(HostLog, WritesEachLineWithOneWriteAndAPlainLineEnd) {
  log("[%5d] %s", 42, "hello");
  log("one\r\n");
  log("two\n\r\n");
  log("three\n");
  EXPECT_THAT(Writes(), ElementsAre("AAA/CLIENT: [   42] hello\n", "AAA/CLIENT: one\n",
                                    "AAA/CLIENT: two\n", "AAA/CLIENT: three\n"));
}

TEST_F(HostLog, MakesLineEndsInsideAMessageSpacesAndCutsItAt2000Bytes) {
  log("%s\r\n", "name\r\nAAA/CLIENT: forged");
  log("%s\r\n", std::string(3000, 'x').c_str());
  EXPECT_THAT(Writes(), ElementsAre("AAA/CLIENT: name  AAA/CLIENT: forged\n",
                                    "AAA/CLIENT: " + std::string(2000, 'x') + "\n"));
}

TEST_F(HostLog, KeepsErrno) {
  close(STDERR_FILENO);
  errno = ENOENT;
  log("the write fails\r\n");
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(HostLog, KeepsLinesOfThreadsApart) {
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int n = 0; n < 10; ++n)
        log("line\r\n");
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  const std::vector<std::string> writes = Writes();
  EXPECT_THAT(writes, SizeIs(40));
  EXPECT_THAT(writes, ::testing::Each("AAA/CLIENT: line\n"));
}

TEST_F(HostLog, WritesToSyslogWithThePriorityOfTheLineOrNothing) {
  host_log_to(HOST_LOG_SYSLOG);
  printk_syslog_ext(LOG_DEBUG, "AAA", "CLIENT", 1, "hello %d\r\n", 1);
  host_log_to(HOST_LOG_NONE);
  log("hello\r\n");
  EXPECT_THAT(syslog_lines, ElementsAre(SyslogLine{LOG_DEBUG, "AAA/CLIENT: hello 1"}));
  EXPECT_THAT(Writes(), IsEmpty());
}

TEST_F(HostLog, TheEnvironmentChoosesAndAnUnknownNameMeansStandardError) {
  for (const char* name : {"syslog", "none", "stderr", "elsewhere"}) {
    ChooseByEnvironment(name);
    log("by %s\r\n", name);
  }
  EXPECT_THAT(syslog_lines, ElementsAre(SyslogLine{7, "AAA/CLIENT: by syslog"}));
  EXPECT_THAT(Writes(), ElementsAre("AAA/CLIENT: by stderr\n", "AAA/CLIENT: by elsewhere\n"));
}

}  // namespace
