// The clocks that the library reads and the sleeps that it takes. The tests are linked so that the
// library's calls of clock_gettime(), sysinfo(), sleep() and usleep() come here; std::chrono does
// not, so deadlines of tests stay real.
#pragma once

#include <cstdint>

namespace test {

class MovedClock {
 public:
  MovedClock() = default;
  // Puts the clocks right again.
  ~MovedClock();
  MovedClock(const MovedClock&) = delete;
  MovedClock& operator=(const MovedClock&) = delete;

  // Moves the monotonic clock and the uptime.
  void advance(std::int64_t seconds);

  // From now on sleeps of the library last a millisecond and move the clock by what was asked.
  void shorten_sleeps();

  // Sleeps that the library has taken since this object was made, and their sum in microseconds.
  std::uint32_t sleeps() const;
  std::uint64_t slept_us() const;

 private:
  std::uint32_t sleeps_before_ = total_sleeps();
  std::uint64_t slept_before_ = total_slept_us();

  static std::uint32_t total_sleeps();
  static std::uint64_t total_slept_us();
};

// The monotonic second as the library sees it.
std::uint32_t library_seconds();

}  // namespace test
