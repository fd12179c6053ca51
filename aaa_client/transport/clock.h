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

}  // namespace aaa
