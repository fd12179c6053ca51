// Waiting for a condition, with a deadline.
#pragma once

#include <chrono>
#include <thread>

namespace test {

inline constexpr std::chrono::milliseconds kPatience{10000};

// Polls until `condition` holds; returns whether it did before the deadline.
template <class Condition>
bool eventually(Condition condition, std::chrono::milliseconds patience = kPatience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace test
