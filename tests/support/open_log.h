// The library's log behind an open gate.
#pragma once

#include "support/expected_line.h"

namespace test {

class OpenLog : public LogCapture {
 public:
  // Exactly one line with this message, column by column.
  void expect(const std::string& function, const std::string& message) const {
    expect_line(*this, function, message);
  }
  // And no other line.
  void expect_only(const std::string& function, const std::string& message) const {
    expect_only_line(*this, function, message);
  }
  // And none after it.
  void expect_last(const std::string& function, const std::string& message) const {
    expect(function, message);
    EXPECT_EQ(message, messages().empty() ? "(no line)" : messages().back());
  }

 private:
  OpenGate gate_;
};

}  // namespace test
