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
using ::testing::EndsWith;
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

  static void ChooseByEnvironment(const char* name) {
    setenv("AAA_HOST_LOG", name, 1);
    host_log_from_environment();
  }

 private:
  int standard_error_ = -1;
  int reader_ = -1;
};

TEST_F(HostLog, WritesALineWithOneWrite) {
  printk_syslog_ext(7, "AAA", "CLIENT", 1, "[%5d] %s", 42, "hello");
  EXPECT_THAT(Writes(), ElementsAre("AAA/CLIENT: [   42] hello\n"));
}

TEST_F(HostLog, ReplacesTheLineEndOfAMessage) {
  printk_syslog_ext(7, "AAA", "CLIENT", 1, "one\r\n");
  printk_syslog_ext(7, "AAA", "CLIENT", 1, "two\n\r\n");
  printk_syslog_ext(7, "AAA", "CLIENT", 1, "three\n");
  EXPECT_THAT(Writes(),
              ElementsAre("AAA/CLIENT: one\n", "AAA/CLIENT: two\n", "AAA/CLIENT: three\n"));
}

TEST_F(HostLog, MakesLineEndsInsideAMessageSpaces) {
  printk_syslog_ext(7, "AAA", "CLIENT", 1, "%s\r\n", "name\r\nAAA/CLIENT: forged");
  EXPECT_THAT(Writes(), ElementsAre("AAA/CLIENT: name  AAA/CLIENT: forged\n"));
}

TEST_F(HostLog, CutsAMessageAt2000Bytes) {
  const std::string text(3000, 'x');
  printk_syslog_ext(7, "AAA", "CLIENT", 1, "%s\r\n", text.c_str());
  EXPECT_THAT(Writes(), ElementsAre("AAA/CLIENT: " + std::string(2000, 'x') + "\n"));
}

TEST_F(HostLog, KeepsErrno) {
  close(STDERR_FILENO);
  errno = ENOENT;
  printk_syslog_ext(7, "AAA", "CLIENT", 1, "the write fails\r\n");
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(HostLog, KeepsLinesOfThreadsApart) {
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int n = 0; n < 10; ++n)
        printk_syslog_ext(7, "AAA", "CLIENT", 1, "line\r\n");
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  const std::vector<std::string> writes = Writes();
  EXPECT_THAT(writes, SizeIs(40));
  EXPECT_THAT(writes, ::testing::Each("AAA/CLIENT: line\n"));
}

TEST_F(HostLog, WritesToSyslogWithThePriorityOfTheLine) {
  host_log_to(HOST_LOG_SYSLOG);
  printk_syslog_ext(LOG_DEBUG, "AAA", "CLIENT", 1, "hello %d\r\n", 1);
  EXPECT_THAT(syslog_lines, ElementsAre(SyslogLine{LOG_DEBUG, "AAA/CLIENT: hello 1"}));
  EXPECT_THAT(Writes(), IsEmpty());
}

TEST_F(HostLog, WritesNothingWhenToldSo) {
  host_log_to(HOST_LOG_NONE);
  printk_syslog_ext(7, "AAA", "CLIENT", 1, "hello\r\n");
  EXPECT_THAT(Writes(), IsEmpty());
  EXPECT_THAT(syslog_lines, IsEmpty());
}

TEST_F(HostLog, TheEnvironmentChooses) {
  ChooseByEnvironment("syslog");
  printk_syslog_ext(7, "AAA", "CLIENT", 1, "first\r\n");
  ChooseByEnvironment("none");
  printk_syslog_ext(7, "AAA", "CLIENT", 1, "second\r\n");
  ChooseByEnvironment("stderr");
  printk_syslog_ext(7, "AAA", "CLIENT", 1, "third\r\n");
  EXPECT_THAT(syslog_lines, ElementsAre(SyslogLine{7, "AAA/CLIENT: first"}));
  EXPECT_THAT(Writes(), ElementsAre("AAA/CLIENT: third\n"));
}

TEST_F(HostLog, AnUnknownNameInTheEnvironmentMeansStandardError) {
  ChooseByEnvironment("elsewhere");
  printk_syslog_ext(7, "AAA", "CLIENT", 1, "hello\r\n");
  EXPECT_THAT(Writes(), ElementsAre(EndsWith("hello\n")));
}

}  // namespace
