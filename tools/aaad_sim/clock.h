// The kernel's monotonic clock, asked without the C library: a test program that puts its own
// clock_gettime() in place does not move the simulator's time.
#pragma once

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <chrono>

namespace aaa_sim {

using TimePoint = std::chrono::steady_clock::time_point;

inline TimePoint kernel_now() {
  timespec now{};
  ::syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now);
  return TimePoint(std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec));
}

}  // namespace aaa_sim
