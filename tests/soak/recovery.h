// What a client may take to be registered again once aaad listens: the rest of an attempt that came
// too early, one pause, and an attempt that succeeds.
#pragma once

#include <chrono>
#include <cstdint>

#include "support/scripted_calls.h"

namespace soak {

inline constexpr std::chrono::milliseconds kRetryPause{2000};

// Time for an attempt on a machine that is busy.
#ifdef __SANITIZE_THREAD__
inline constexpr std::chrono::milliseconds kAttempt{4000};
#else
inline constexpr std::chrono::milliseconds kAttempt{1500};
#endif

constexpr std::chrono::milliseconds recovery_time(std::chrono::milliseconds pause) {
  return kAttempt + pause + kAttempt;
}

// A time without aaad, from the creation of the object to end(), and the pauses that this process's
// client takes because of it. However busy the machine is: only an attempt that begins while aaad
// is away fails, each of them is followed by one pause, and so they begin a pause apart.
class Outage {
 public:
  Outage(const test::MovedClock& clock, std::chrono::milliseconds pause)
      : clock_(clock), pause_(pause) {}

  void end() { end_ = std::chrono::steady_clock::now(); }

  std::uint64_t pauses_taken() const { return (clock_.slept_us() - slept_before_) / us_of_a_pause; }
  std::uint64_t most_pauses() const {
    return 1 + static_cast<std::uint64_t>((end_ - begin_) / pause_);
  }

 private:
  static constexpr std::uint64_t us_of_a_pause = std::chrono::microseconds(kRetryPause).count();

  const test::MovedClock& clock_;
  const std::chrono::milliseconds pause_;  // as long as it really takes
  const std::uint64_t slept_before_ = clock_.slept_us();
  const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point end_ = begin_;
};

}  // namespace soak
