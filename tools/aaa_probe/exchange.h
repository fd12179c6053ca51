// Calls that wait for aaad's answer by themselves.
#pragma once

#include <algorithm>
#include <string>

#include "aaa_client.h"
#include "status.h"
#include "time_limit.h"

namespace aaa_probe {

// The library gives up after 10 seconds with a result that can also be an answer.
constexpr std::chrono::seconds kLongestExchange{9};

[[noreturn]] inline void throw_timed_out(std::uint32_t seconds) {
  throw Failure(Status::timed_out, "no answer within " + std::to_string(seconds) + " seconds");
}

// Throws Failure when there is no answer in time, or no connection any more. `call` must own what
// it uses.
template <class Call>
auto answer_of(std::uint32_t timeout, Call call) {
  const std::chrono::seconds limit = std::min(std::chrono::seconds(timeout), kLongestExchange);
  const auto answer = result_within(limit, std::move(call));
  if (!answer) throw_timed_out(static_cast<std::uint32_t>(limit.count()));
  if (aaa_is_alive() == 0) throw Failure(Status::no_daemon, "the connection to aaad was lost");
  return *answer;
}

}  // namespace aaa_probe
