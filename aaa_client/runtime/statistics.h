// The statistics record g_aaalib_stat and its timing slots.
#pragma once

#include <sys/time.h>

#include <cstdint>

#include "aaa_client.h"

namespace aaa {

enum TimingSlot : std::uint32_t {
  timing_authen = 0,
  timing_acct = 1,
  timing_session_id = 2,
  timing_mlist = 3
};

// Adds the time since a wall-clock instant to a slot's total and raises its maximum. Microseconds
// in unsigned 32-bit arithmetic; other slots are ignored. Threads that race may leave a maximum
// that is none of theirs.
void aaalib_stat_time_elapse(std::uint32_t slot, std::uint32_t start_sec, std::uint32_t start_usec);

// Times a scope into a slot.
class ScopedTiming {
 public:
  explicit ScopedTiming(TimingSlot slot) : slot_(slot) { gettimeofday(&start_, nullptr); }
  ~ScopedTiming() {
    aaalib_stat_time_elapse(slot_, static_cast<std::uint32_t>(start_.tv_sec),
                            static_cast<std::uint32_t>(start_.tv_usec));
  }
  ScopedTiming(const ScopedTiming&) = delete;
  ScopedTiming& operator=(const ScopedTiming&) = delete;

 private:
  TimingSlot slot_;
  timeval start_ = {};
};

}  // namespace aaa
