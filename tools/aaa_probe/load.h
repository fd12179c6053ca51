// Many requests, some of them at a time, and how long they take.
#pragma once

#include <cstdint>
#include <functional>

#include "output.h"
#include "status.h"

namespace aaa_probe {

struct LoadOptions {
  std::uint32_t repeat = 1;
  std::uint32_t parallel = 1;  // requests at a time
  double rate = 0;             // requests per second; 0: as many as are answered

  bool is_load() const { return repeat > 1; }
};

// Makes one request, the one of this number from 0 on. Called on several threads; may throw
// Failure. Calls the function that it is given when the request is about to be sent.
using Attempt = std::function<Status(std::uint32_t number, const std::function<void()>& starts)>;

// Prints a line of progress when standard error is a terminal, and a summary. Ends early when there
// is no daemon any more. Returns the status of the first of these that occurred: no daemon,
// time-out, rejection, challenge; else accepted.
Status run_load(const LoadOptions& options, const Attempt& attempt, Output& output);

}  // namespace aaa_probe
