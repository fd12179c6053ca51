// The simulator's clock, and timers for the event loop.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>

#include "server/file_descriptor.h"

namespace aaa_sim {

using TimePoint = std::chrono::steady_clock::time_point;

// The monotonic clock, read with a direct system call: a test program that replaces clock_gettime()
// does not move the simulator's time.
TimePoint kernel_now();

// A timerfd.
class Timer {
 public:
  Timer();
  int fd() const { return fd_.get(); }
  void set_once(std::chrono::nanoseconds after);
  // 0 stops the timer.
  void set_every(std::chrono::nanoseconds interval);
  // Clears the expiration, so that the descriptor is not readable until the next one.
  void acknowledge();

 private:
  FileDescriptor fd_;
};

// Actions to run later, in the order of their deadlines.
class DelayedActions {
 public:
  int fd() const { return timer_.fd(); }
  void add(std::chrono::nanoseconds delay, std::uint32_t key, std::function<void()> action);
  // Discards the actions with this key, unless it is 0.
  void drop(std::uint32_t key);
  void run_due();

 private:
  struct Action {
    std::uint32_t key;
    std::function<void()> run;
  };

  void set_timer();

  Timer timer_;
  std::multimap<TimePoint, Action> actions_;
};

}  // namespace aaa_sim
