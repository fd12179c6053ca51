// A moment until which something may take.
#pragma once

#include <time.h>

#include <cstdint>

namespace aaa_pam {

class Deadline {
 public:
  explicit Deadline(std::uint32_t seconds) {
    (void)::clock_gettime(CLOCK_MONOTONIC, &time_);
    time_.tv_sec += static_cast<time_t>(seconds);
  }

  // Of CLOCK_MONOTONIC.
  const timespec& time() const { return time_; }

  // In whole seconds, rounded up; 0 when it has passed.
  std::uint32_t seconds_left() const {
    timespec now;
    (void)::clock_gettime(CLOCK_MONOTONIC, &now);
    const std::int64_t left = static_cast<std::int64_t>(time_.tv_sec) - now.tv_sec +
                              (time_.tv_nsec > now.tv_nsec ? 1 : 0);
    return left > 0 ? static_cast<std::uint32_t>(left) : 0;
  }

 private:
  timespec time_;
};

}  // namespace aaa_pam
