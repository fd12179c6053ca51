// How the program ends.
#pragma once

#include <stdexcept>
#include <string>

namespace aaa_probe {

enum class Status {
  accepted = 0,
  rejected = 1,
  challenged = 2,
  no_daemon = 3,
  timed_out = 4,
  usage = 64
};

// Ends a command before it has a result. The text goes to standard error.
class Failure : public std::runtime_error {
 public:
  Failure(Status status, const std::string& text) : std::runtime_error(text), status_(status) {}
  Status status() const { return status_; }

 private:
  Status status_;
};

}  // namespace aaa_probe
