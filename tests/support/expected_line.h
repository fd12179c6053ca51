// A line as it must stand in the log, column by column.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "support/log_capture.h"

namespace test {

// Expects debug lines with this message, of the model "test" and of one thread, and returns how
// many.
inline std::size_t expect_lines(const LogCapture& log, const std::string& function,
                                const std::string& message, pid_t thread = gettid()) {
  char columns[80];
  std::snprintf(columns, sizeof columns, "[%5d][%14.14s][%30.30s] ", thread, "test",
                function.c_str());
  std::size_t found = 0;
  for (const LogLine& line : log.lines()) {
    if (line.text != columns + message) continue;
    ++found;
    EXPECT_EQ(7, line.priority);
    EXPECT_EQ("AAA", line.module);
    EXPECT_EQ("CLIENT", line.submodule);
    EXPECT_EQ(1, line.kind);
    EXPECT_EQ("[%5d][%14.14s][%30.30s] ", line.format.substr(0, 24));
  }
  EXPECT_LE(1u, found) << columns << message << "instead of " << log.find(message).text;
  return found;
}
// Expects exactly one, and none of another thread.
inline void expect_line(const LogCapture& log, const std::string& function,
                        const std::string& message, pid_t thread = gettid()) {
  expect_lines(log, function, message, thread);
  EXPECT_EQ(1u, log.count(message)) << message;
}
// Expects nothing else in the log.
inline void expect_only_line(const LogCapture& log, const std::string& function,
                             const std::string& message) {
  expect_line(log, function, message);
  EXPECT_EQ(1u, log.lines().size());
}

// A line that the debug switch does not hold back: as with it off, and the platform's own module.
inline void expect_ungated(const LogLine& line, const std::string& text) {
  EXPECT_EQ(text, line.text);
  EXPECT_EQ(7, line.priority);
  EXPECT_EQ("UNKNOW_MODULE", line.module);
  EXPECT_EQ("DEBUG", line.submodule);
  EXPECT_EQ(2, line.kind);
}
// The text of one with the columns of thread and function.
inline std::string ungated_text(const std::string& function, const std::string& message,
                                pid_t thread = gettid()) {
  char columns[64];
  std::snprintf(columns, sizeof columns, "AAA LIB [%5d][%30.30s] ", thread, function.c_str());
  return columns + message;
}

}  // namespace test
