// An aaad that is killed and started again, over and over, under sixteen threads of one client.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "soak/recovery.h"
#include "traffic/calls.h"

namespace soak {
namespace {

using std::chrono::duration;
using std::chrono::steady_clock;

// ---- Calls, each of which returns whether aaad has answered. ----

// The last answered session of those whose ids end alike.
std::array<std::atomic<std::uint32_t>, 4096> answered_sessions;

std::atomic<std::uint32_t>& answered_session_like(std::uint32_t id) {
  return answered_sessions[id % answered_sessions.size()];
}

bool get_session_id() {
  return aaa_get_session_id() != 0;
}

// A request that was under way when the link was lost has no answer.
bool authenticate() {
  authen_info authen = {};
  const std::uint32_t id = authen.session_id = aaa_get_session_id();
  const std::size_t losses = link_events(AAA_EVENT_CONNECTION_LOST);
  if (id == 0 || aaa_user_req_authen(&authen) != 0) return false;
  test::eventually([&] {
    return answered_session_like(id) == id || link_events(AAA_EVENT_CONNECTION_LOST) != losses;
  });
  return answered_session_like(id) == id;
}

bool ask(std::string_view name) {
  const auto question = std::ranges::find(traffic::questions(), name, &traffic::Exchange::name);
  return question->make() == question->answered;
}

// Threads of a client that make one kind of call each, over and over, and tell when every one of
// them has got an answer again.
class SteadyCallers {
 public:
  explicit SteadyCallers(unsigned threads) : callers_(threads) {}
  ~SteadyCallers() { stop(); }
  SteadyCallers(const SteadyCallers&) = delete;
  SteadyCallers& operator=(const SteadyCallers&) = delete;

  void start() {
    for (std::size_t number = 0; number < callers_.size(); ++number)
      callers_[number].thread = std::thread([this, number] { run(number); });
  }
  void stop() {
    stopping_ = true;
    for (Caller& caller : callers_)
      if (caller.thread.joinable()) caller.thread.join();
  }

  // Calls that have begun by now do not count any more.
  void begin_round() {
    ++round_;
    answers_before_ = answers_.load();
  }
  // The numbers of the threads that have not completed a call of this round.
  std::string without_answer() const {
    std::string numbers;
    for (std::size_t number = 0; number < callers_.size(); ++number)
      if (callers_[number].answered_round != round_) numbers += " " + std::to_string(number);
    return numbers;
  }
  std::size_t answers_of_round() const { return answers_ - answers_before_; }
  std::size_t answers() const { return answers_; }

 private:
  struct Caller {
    std::thread thread;
    std::atomic<int> answered_round = 0;
  };

  void run(std::size_t number) {
    constexpr bool (*calls[])() = {get_session_id, authenticate, [] { return ask("aaa_srv_mib"); },
                                   [] { return ask("username_lib_copy_user"); }};
    while (!stopping_) {
      const int round = round_;
      if (calls[number % std::size(calls)]()) {
        callers_[number].answered_round = round;
        ++answers_;
      }
      // The library's locks know no turns: without a pause one thread could keep the others out.
      std::this_thread::sleep_for(milliseconds(1));
    }
  }

  std::vector<Caller> callers_;
  std::atomic<int> round_ = 1;
  std::atomic<bool> stopping_ = false;
  std::atomic<std::size_t> answers_ = 0;
  std::atomic<std::size_t> answers_before_ = 0;  // this round
};

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

class KillCycles : public RestartTest {
 protected:
  // The clock moves on by each pause that is cut short, which is no silence of aaad.
  KillCycles()
      : RestartTest(11, {"--server-statistic", "7=42", "--local-user", "alice:secret", "--status",
                         "aaa_id_limit=0"}) {}

  void SetUp() override {
    WatchedTest::SetUp();
    sim_.start();
    reg_info info = test::client("cycles");
    info.notify_result_cb = [](result_info* result) {
      answered_session_like(result->sub.session_id) = result->sub.session_id;
    };
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
      const milliseconds before(random_.below(40)), away(random_.below(40));
      const Outage outage = restart_sim(pause, before, away);
      expect_answers_within(recovery_time(pause));
      outage.expect_no_needless_pause();
      // Memory no longer grows when the first cycles are over.
      if (n == cycles / 10) bytes_after_tenth_ = resident_bytes();
    }
    callers_.stop();
    EXPECT_LE(resident_bytes(), bytes_after_tenth_ + kRoomToGrow);
    EXPECT_EQ(static_cast<std::size_t>(cycles), link_events(AAA_EVENT_CONNECTION_LOST));
    std::printf("%d cycles, %zu answers, slowest recovery %.3f s\n", cycles, callers_.answers(),
                slowest_.count());
    std::printf("%zu descriptors, %zu KiB resident after a tenth, %zu KiB at the end\n",
                descriptors_, bytes_after_tenth_ / 1024, resident_bytes() / 1024);
  }

 private:
  void expect_answers_within(milliseconds limit) {
    callers_.begin_round();
    const auto start = steady_clock::now();
    EXPECT_TRUE(test::eventually([this] { return callers_.without_answer().empty(); }, limit))
        << "no answer after " << limit.count() << " ms: threads" << callers_.without_answer()
        << ", answers: " << callers_.answers_of_round();
    slowest_ = std::max<duration<double>>(slowest_, steady_clock::now() - start);
    EXPECT_TRUE(test::eventually([this] { return test::open_descriptors() == descriptors_; }))
        << test::open_descriptors() << " descriptors in place of " << descriptors_;
  }

  SteadyCallers callers_{16};
  std::size_t descriptors_ = 0;
  std::size_t bytes_after_tenth_ = 0;
  duration<double> slowest_{0};
};

// The pause between two attempts takes a millisecond here, so that many cycles take minutes.
TEST_F(KillCycles, EveryThreadHasAnAnswerAnAttemptAfterEachStart) {
  clock_.shorten_sleeps();
  run(kill_cycles(8, 2000), kShortPause);
}

TEST_F(KillCycles, EveryThreadHasAnAnswerAPauseAndAnAttemptAfterEachStart) {
  run(slow_kill_cycles(3, 200), kRetryPause);
}

}  // namespace
}  // namespace soak
