// The monotonic clock in whole seconds.
#pragma once

#include <time.h>

#include <cstdint>

namespace aaa {

inline std::uint32_t monotonic_seconds() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint32_t>(now.tv_sec);
}

// The 10-second deadline of sends, receives and drains: they give up once the clock's whole seconds
// have advanced by more than 9.
inline bool is_before_deadline(std::uint32_t start) {
  constexpr std::uint32_t deadline_seconds = 9;
  return monotonic_seconds() - start <= deadline_seconds;
}

}  // namespace aaa
