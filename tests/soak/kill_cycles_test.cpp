// An aaad that is killed and started again, over and over, under sixteen threads of one client.
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <thread>

#include "soak/link_events.h"
#include "soak/random.h"
#include "soak/recovery.h"
#include "soak/sim_program.h"
#include "soak/soak_test.h"
#include "soak/steady_callers.h"

namespace soak {
namespace {

using std::chrono::duration;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::IsEmpty;

#ifdef __SANITIZE_THREAD__
constexpr std::size_t kRoomToGrow = 64u << 20;
#elif defined(__SANITIZE_ADDRESS__)
// It keeps 256 MiB of freed memory aside.
constexpr std::size_t kRoomToGrow = 512u << 20;
#else
constexpr std::size_t kRoomToGrow = 4u << 20;
#endif
constexpr milliseconds kShortPause{1};

std::size_t resident_bytes() {
  std::size_t all = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> all >> resident;
  return resident * static_cast<std::size_t>(::getpagesize());
}

class KillCycles : public WatchedTest {
 protected:
  void SetUp() override {
    WatchedTest::SetUp();
    forget_link_events();
    sim_.start();
    reg_info info = test::client("cycles");
    info.notify_result_cb = SteadyCallers::note_result;
    info.aaa_event_cb = note_link_event;
    ASSERT_EQ(0, aaa_svr_reg(&info));
    descriptors_ = test::open_descriptors();
    callers_.start();
  }

  void TearDown() override {
    callers_.stop();
    test::stop_library();
    sim_.kill();
    WatchedTest::TearDown();
    EXPECT_THAT(link_event_complaints(), IsEmpty());
  }

  void run(int cycles, milliseconds pause) {
    for (int n = 0; n < cycles && !HasFailure(); ++n) {
      const Outage outage = restart_sim(pause);
      expect_answers_within(recovery_time(pause));
      EXPECT_LE(outage.pauses_taken(), outage.most_pauses());
      // Memory has settled when the first cycles are over.
      if (n == cycles / 10) settled_bytes_ = resident_bytes();
    }
    callers_.stop();
    EXPECT_LE(resident_bytes(), settled_bytes_ + kRoomToGrow);
    EXPECT_EQ(static_cast<std::size_t>(cycles), link_events(AAA_EVENT_CONNECTION_LOST));
    report(cycles);
  }

  test::MovedClock clock_;

 private:
  static std::vector<std::string> start_options() {
    std::vector<std::string> options = SteadyCallers::sim_options();
    // The clock moves on by each pause that is cut short. That is no silence of aaad.
    options.insert(options.end(), {"--status", "aaa_id_limit=0"});
    return options;
  }

  Outage restart_sim(milliseconds pause) {
    std::this_thread::sleep_for(milliseconds(random_.below(40)));
    Outage outage(clock_, pause);
    sim_.kill();
    EXPECT_THAT(sim_.disorder(), IsEmpty());
    std::this_thread::sleep_for(milliseconds(random_.below(40)));
    sim_.start();
    outage.end();
    return outage;
  }

  void expect_answers_within(milliseconds limit) {
    callers_.begin_round();
    const auto start = steady_clock::now();
    EXPECT_TRUE(test::eventually([this] { return callers_.all_have_an_answer(); }, limit))
        << "no answer after " << limit.count() << " ms: threads" << callers_.without_answer();
    slowest_ = std::max<duration<double>>(slowest_, steady_clock::now() - start);
    EXPECT_EQ(descriptors_, test::open_descriptors());
  }

  void report(int cycles) const {
    std::printf("%d cycles, %zu answers, slowest recovery %.3f s\n", cycles, callers_.answers(),
                slowest_.count());
    std::printf("%zu descriptors, %zu KiB resident after a tenth, %zu KiB at the end\n",
                descriptors_, settled_bytes_ / 1024, resident_bytes() / 1024);
  }

  SimProgram sim_{directory(), start_options()};
  SteadyCallers callers_{16};
  Random random_{11};
  std::size_t descriptors_ = 0;
  std::size_t settled_bytes_ = 0;
  duration<double> slowest_{0};
};

// The pause between two attempts takes a millisecond here, so that many cycles take minutes.
TEST_F(KillCycles, EveryThreadHasAnAnswerAnAttemptAfterEachStart) {
  clock_.shorten_sleeps();
  run(kill_cycles(8, 2000), kShortPause);
}

TEST_F(KillCycles, EveryThreadHasAnAnswerAPauseAndAnAttemptAfterEachStart) {
  run(slow_kill_cycles(1, 20), kRetryPause);
}

}  // namespace
}  // namespace soak
