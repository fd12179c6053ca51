// Ends a test that hangs: prints where every thread of the process stands, then aborts.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace soak {

class HangWatch {
 public:
  explicit HangWatch(std::chrono::seconds limit);
  ~HangWatch();
  HangWatch(const HangWatch&) = delete;
  HangWatch& operator=(const HangWatch&) = delete;

 private:
  void watch(std::chrono::seconds limit);

  std::mutex lock_;
  std::condition_variable changed_;
  bool over_ = false;  // guarded by lock_
  std::thread thread_;
};

// Prints the stack of every thread that takes signals on standard error.
void print_all_stacks();

}  // namespace soak
