// Ends a test program that hangs: says where, prints where every thread stands, and aborts.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace soak {

class HangWatch {
 public:
  explicit HangWatch(std::chrono::seconds limit) : deadline_(Clock::now() + limit) {}
  ~HangWatch();
  HangWatch(const HangWatch&) = delete;
  HangWatch& operator=(const HangWatch&) = delete;

  // A part of the test begins, which is over within a minute. `describe` says which, when it is
  // not.
  void begin_part(std::function<std::string()> describe);
  void end_part();

 private:
  using Clock = std::chrono::steady_clock;

  void watch();

  std::mutex lock_;
  std::condition_variable changed_;
  // Guarded by lock_.
  const Clock::time_point deadline_;
  Clock::time_point deadline_of_part_ = Clock::time_point::max();
  std::function<std::string()> describe_ = [] { return std::string("the test"); };
  bool over_ = false;

  std::thread thread_{[this] { watch(); }};
};

}  // namespace soak
