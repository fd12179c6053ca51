// Timers as descriptors that an event loop can watch.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>

#include "clock.h"
#include "file_descriptor.h"

namespace aaa_sim {

// Readable at a moment, or again and again.
class Timer {
 public:
  Timer();
  int fd() const { return fd_.get(); }
  void set_once(std::chrono::nanoseconds after);
  // 0 stops it.
  void set_every(std::chrono::nanoseconds interval);
  // Makes it unreadable until it is due again.
  void acknowledge();

 private:
  FileDescriptor fd_;
};

// Actions that are due later, in order.
class DelayedActions {
 public:
  int fd() const { return timer_.fd(); }
  // `key` is what drop() knows the action by.
  void add(std::chrono::nanoseconds delay, std::uint32_t key, std::function<void()> action);
  // Forgets the actions of that key; 0 is none.
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
