// Ends the test program with a message when a run hangs: which one, where, and the stacks of all
// threads.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "soak/hang_watch.h"

namespace faults {

class LifeWatch {
 public:
  LifeWatch();
  ~LifeWatch();
  LifeWatch(const LifeWatch&) = delete;
  LifeWatch& operator=(const LifeWatch&) = delete;

  // A run begins, which is over within a minute. `describe` says which, when it is not.
  void begin(std::function<std::string()> describe);
  void end();

 private:
  using Clock = std::chrono::steady_clock;

  void watch();

  // Prints stacks for this watch as well, and limits the test as a whole.
  soak::HangWatch whole_test_{std::chrono::seconds(3500)};
  std::mutex lock_;
  std::condition_variable changed_;
  std::optional<Clock::time_point> deadline_;  // these three guarded by lock_
  std::function<std::string()> describe_;
  bool over_ = false;
  std::thread thread_;
};

}  // namespace faults
