// What the library writes to the platform's log. The test program's own printk_syslog_ext() keeps
// every line; a LogCapture shows those written since it was made.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace test {

struct LogLine {
  int priority;
  std::string module;
  std::string submodule;
  int kind;
  std::string format;
  std::string text;  // as the format and its arguments give it

  // The columns of a debug line "[thread][model][function] message".
  std::string thread() const;
  std::string model() const;
  std::string function() const;
  std::string message() const;
};

class LogCapture {
 public:
  LogCapture();

  std::vector<LogLine> lines() const;
  // The messages of the debug lines, without their columns, and with their line ends.
  std::vector<std::string> messages() const;
  // The first line whose message is exactly `message`, or one with an empty format.
  LogLine find(const std::string& message) const;
  std::size_t count(const std::string& message) const;
  // The functions that the debug lines name.
  std::vector<std::string> functions() const;
  bool wait_for(const std::string& message) const;

 private:
  std::size_t first_;
};

// Opens the debug gate without a limit, and restores the status words afterwards.
class OpenGate {
 public:
  OpenGate();
  ~OpenGate();
  OpenGate(const OpenGate&) = delete;
  OpenGate& operator=(const OpenGate&) = delete;

 private:
  unsigned debug_;
  unsigned limit_;
};

}  // namespace test
