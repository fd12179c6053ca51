// What a client may take to be registered again once aaad listens: the rest of an attempt that came
// too early, one pause, and an attempt that succeeds.
#pragma once

#include "soak/load.h"
#include "soak/sim_program.h"
#include "soak/soak_fixture.h"

namespace soak {

inline constexpr milliseconds kRetryPause{2000};
// Time for an attempt on a machine that is busy. That no attempt fails in vain is what Outage
// counts.
inline constexpr milliseconds kAttempt{5000};

constexpr milliseconds recovery_time(milliseconds pause) {
  return kAttempt + pause + kAttempt;
}

// A time without aaad, from the creation of the object to end(), and the pauses that this process's
// client takes because of it. However busy the machine is: only an attempt that begins while aaad
// is away fails, each of them is followed by one pause, and so they begin a pause apart.
class Outage {
 public:
  Outage(const test::MovedClock& clock, milliseconds pause) : clock_(clock), pause_(pause) {}

  void end() { end_ = std::chrono::steady_clock::now(); }

  void expect_no_needless_pause() const {
    constexpr std::uint64_t us_of_a_pause = std::chrono::microseconds(kRetryPause).count();
    EXPECT_LE((clock_.slept_us() - slept_before_) / us_of_a_pause,
              1 + static_cast<std::uint64_t>((end_ - begin_) / pause_));
  }

 private:
  const test::MovedClock& clock_;
  const milliseconds pause_;  // as long as it really takes
  const std::uint64_t slept_before_ = clock_.slept_us();
  const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point end_ = begin_;
};

// A client of an aaad that is killed and started again.
class RestartTest : public WatchedTest {
 protected:
  RestartTest(std::uint32_t seed, std::vector<std::string> options)
      : sim_(directory(), std::move(options)), random_(seed) {}

  Outage restart_sim(milliseconds pause, milliseconds before, milliseconds away) {
    std::this_thread::sleep_for(before);
    Outage outage(clock_, pause);
    sim_.kill();
    EXPECT_THAT(sim_.disorder(), IsEmpty());
    std::this_thread::sleep_for(away);
    sim_.start();
    outage.end();
    return outage;
  }

  test::MovedClock clock_;
  SimProgram sim_;
  Random random_;
};

}  // namespace soak
