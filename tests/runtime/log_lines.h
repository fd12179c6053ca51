// What a debug line must look like, column by column.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "aaa_client.h"
#include "support/log_capture.h"

namespace test {

// The whole text of a debug line. Function names are cut to 30 characters.
inline std::string debug_text(const std::string& message, const char* function, pid_t thread) {
  char columns[80];
  std::snprintf(columns, sizeof columns, "[%5d][%14.14s][%30.30s] ", thread,
                g_aaa_client_cb.model_name, function);
  return columns + message;
}

// Expects a debug line with this message, written by `thread` on behalf of `function`.
inline void expect_debug_line(const LogCapture& log, const std::string& message,
                              const char* function, pid_t thread = gettid()) {
  const std::string text = debug_text(message, function, thread);
  for (const LogLine& line : log.lines()) {
    if (line.text != text) continue;
    EXPECT_EQ(7, line.priority);
    EXPECT_EQ("AAA", line.module);
    EXPECT_EQ("CLIENT", line.submodule);
    EXPECT_EQ(1, line.kind);
    return;
  }
  ADD_FAILURE() << "no line " << text << "but " << log.find(message).text;
}

}  // namespace test
