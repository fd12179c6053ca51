// A debug line as it must stand in the log, column by column.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "support/log_capture.h"

namespace test {

inline std::string padded(const std::string& text, std::size_t width) {
  const std::string cut = text.substr(0, width);
  return std::string(width - cut.size(), ' ') + cut;
}

// Expects exactly one line with this message, written by this thread for the model "test".
inline void expect_line(const LogCapture& log, const std::string& function,
                        const std::string& message) {
  EXPECT_EQ(1u, log.count(message)) << message;
  const LogLine line = log.find(message);
  EXPECT_EQ(7, line.priority);
  EXPECT_EQ("AAA", line.module);
  EXPECT_EQ("CLIENT", line.submodule);
  EXPECT_EQ(1, line.kind);
  EXPECT_EQ("[%5d][%14.14s][%30.30s] ", line.format.substr(0, 24));
  const std::string thread = std::to_string(gettid());
  EXPECT_EQ("[" + std::string(thread.size() < 5 ? 5 - thread.size() : 0, ' ') + thread + "][" +
                padded("test", 14) + "][" + padded(function, 30) + "] " + message,
            line.text);
}

}  // namespace test
