// A point in a callback, or in a call of the library, at which a thread stays until the test lets
// it go on.
#pragma once

#include <gtest/gtest.h>

#include <atomic>

#include "support/eventually.h"

namespace test {

class StoppingPoint {
 public:
  // At the point itself.
  void stop() {
    reached_ = true;
    EXPECT_TRUE(eventually([this] { return goes_on(); }, std::chrono::seconds(20))) << "held up";
  }

  // Waits for a thread that stays there.
  bool is_reached() const {
    return eventually([this] { return reached_.load(); });
  }
  void go_on() { goes_on_ = true; }
  bool goes_on() const { return goes_on_; }
  void reset() { reached_ = goes_on_ = false; }

 private:
  std::atomic<bool> reached_ = false;
  std::atomic<bool> goes_on_ = false;
};

}  // namespace test
