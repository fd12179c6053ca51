// The monotonic clock in whole seconds, as of the last tick of the system: every call that may wait
// reads it at least once, and reading the exact time costs four times as much.
#pragma once

#include <time.h>

#include <cstdint>

namespace aaa {

inline std::uint32_t monotonic_seconds() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return static_cast<std::uint32_t>(now.tv_sec);
}

// The deadline of sends, receives and drains, in the clock's whole seconds.
inline bool is_before_deadline(std::uint32_t start) {
  constexpr std::uint32_t deadline_seconds = 10;
  return monotonic_seconds() - start < deadline_seconds;
}

}  // namespace aaa
