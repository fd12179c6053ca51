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

// Adds the duration of a scope to a slot.
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
