// Host processes that are hard to live in: with thousands of descriptors, with signals all the
// time, that fork at any moment, and that load the library late, again and again.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include "soak/faulty_aaad.h"
#include "soak/soak_fixture.h"
#include "support/child_program.h"
#include "support/fresh_message_sockets.h"
#include "support/login.h"
#include "support/signal_handler.h"

namespace soak {
namespace {

class ManyDescriptors {
 public:
  explicit ManyDescriptors(std::size_t count) {
    allow(2 * count);
    while (fds_.size() < count)
      fds_.push_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  }
  ~ManyDescriptors() {
    for (const int fd : fds_)
      ::close(fd);
  }
  ManyDescriptors(const ManyDescriptors&) = delete;
  ManyDescriptors& operator=(const ManyDescriptors&) = delete;

  int highest() const { return fds_.back(); }

 private:
  static void allow(std::size_t count) {
    rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_cur >= count) return;
    limit.rlim_cur = count;
    ::setrlimit(RLIMIT_NOFILE, &limit);
  }

  std::vector<int> fds_;
};

std::size_t counted_signals = 0;

// ThreadSanitizer must not notice: when its own part of a handler is interrupted by another signal,
// it may leave all signals blocked, and threads that are started later inherit that.
[[gnu::no_sanitize("thread")]] void count_signal(int) {
  __atomic_add_fetch(&counted_signals, 1, __ATOMIC_RELAXED);
}

std::size_t signals_taken() {
  return __atomic_load_n(&counted_signals, __ATOMIC_RELAXED);
}

// While it lives, SIGALRM comes to the process and SIGUSR1 to each of its threads every 100
// microseconds, as far as the machine can, and both interrupt system calls.
class FrequentSignals {
 public:
  static constexpr suseconds_t period_us = 100;

  FrequentSignals() {
    for (const int signal : {SIGALRM, SIGUSR1})
      test::handle_from_now_on(signal, count_signal);
    set_timer(period_us);
    thread_ = std::thread([this] { send_all(); });
  }
  ~FrequentSignals() {
    over_ = true;
    thread_.join();
    set_timer(0);
  }
  FrequentSignals(const FrequentSignals&) = delete;
  FrequentSignals& operator=(const FrequentSignals&) = delete;

 private:
  static void set_timer(suseconds_t microseconds) {
    const itimerval timer = {{0, microseconds}, {0, microseconds}};
    ::setitimer(ITIMER_REAL, &timer, nullptr);
  }

  void send_all() const {
    while (!over_) {
      for (const test::Thread& thread : test::threads_of(getpid()))
        if (thread.id != gettid()) ::syscall(SYS_tgkill, getpid(), thread.id, SIGUSR1);
      std::this_thread::sleep_for(std::chrono::microseconds(period_us));
    }
  }

  std::atomic<bool> over_ = false;
  std::thread thread_;
};

// This thread takes SIGUSR1 only when the object is gone.
class BlockedSignal {
 public:
  BlockedSignal() {
    sigemptyset(&set_);
    sigaddset(&set_, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &set_, nullptr);
  }
  ~BlockedSignal() { pthread_sigmask(SIG_UNBLOCK, &set_, nullptr); }
  BlockedSignal(const BlockedSignal&) = delete;
  BlockedSignal& operator=(const BlockedSignal&) = delete;

  static bool is_pending() {
    sigset_t pending;
    ::sigpending(&pending);
    return sigismember(&pending, SIGUSR1) == 1;
  }

 private:
  sigset_t set_;
};

TEST(HostSignals, OneThatIsStillPendingWhenTheLastHasComeIsTaken) {
  std::size_t before = 0;
  {
    std::optional<FrequentSignals> signals(std::in_place);
    const BlockedSignal blocked;
    EXPECT_TRUE(test::eventually(BlockedSignal::is_pending)) << "no signal comes";
    signals.reset();
    before = signals_taken();
  }
  EXPECT_TRUE(test::eventually([&] { return signals_taken() > before; })) << "the signal is lost";
}

class Host : public SoakTest {
 protected:
  void SetUp() override {
    SoakTest::SetUp();
    answer_queries(sim_);
    sim_.add_user(test::alice());
    message_sockets_.emplace();
  }
  void TearDown() override {
    test::stop_library();
    message_sockets_.reset();
    SoakTest::TearDown();
    EXPECT_THAT(link_event_complaints(), testing::IsEmpty());
  }

  static reg_info waiting_client() {
    reg_info info = client();
    info.notify_result_cb = nullptr;
    return info;
  }

  static void expect_alice_is_accepted() {
    const test::Verdict verdict = test::log_in("alice", "secret");
    EXPECT_EQ(test::kAccepted, verdict.code);
    EXPECT_EQ("alice", verdict.user);
  }

  void lose_and_regain_link() {
    const std::size_t before = link_events(AAA_EVENT_REREGISTERED);
    sim_.close_connections();
    EXPECT_TRUE(
        test::eventually([&] { return link_events(AAA_EVENT_REREGISTERED) == before + 1; }));
  }

  // Everything that a client does in its life.
  void live_once() {
    register_client(waiting_client());
    expect_alice_is_accepted();
    EXPECT_EQ(42u, aaa_mlist_existed(41, 0, 0, "login"));
    lose_and_regain_link();
    expect_alice_is_accepted();
    EXPECT_EQ(0, aaa_svr_dereg());
  }

  std::optional<test::FreshMessageSockets> message_sockets_;
};

TEST_F(Host, SocketsNumberedAbove1024Work) {
  const ManyDescriptors descriptors(2000);
  register_client(waiting_client());
  EXPECT_GT(g_aaa_client_cb.sync_fd, 1024);
  EXPECT_GT(g_aaa_client_cb.async_fd, 1024);
  EXPECT_GT(lib_msg_server_fd, 1024);
  EXPECT_GT(lib_msg_client_fd, 1024);
  EXPECT_EQ(0, aaa_svr_dereg());
  for (int n = 0; n < by_length(5, 500); ++n)
    live_once();
}

TEST_F(Host, SignalsEvery100MicrosecondsDisturbNothing) {
  const FrequentSignals signals;
  const std::size_t before = signals_taken();
  for (int n = 0; n < by_length(50, 3000); ++n)
    live_once();
  EXPECT_TRUE(test::eventually([&] { return signals_taken() - before > 200; }));
}

TEST_F(Host, BothAtOnceDisturbNothing) {
  const ManyDescriptors descriptors(2000);
  const FrequentSignals signals;
  for (int n = 0; n < by_length(20, 1000); ++n)
    live_once();
}

// What ends in the child, which only does what is safe after a fork.
[[noreturn]] void become_descriptor_count() {
  ::execl("/bin/sh", "sh", "-c", "exit $(ls /proc/self/fd | wc -l)", nullptr);
  ::_exit(255);
}

[[noreturn]] void tell_about_lock() {
  ::_exit(::pthread_mutex_trylock(&aaa_lib_lock) == 0 ? 0 : 1);
}

// Runs the rest of the child; returns its exit status, -1 if it hangs.
int status_of_child(void (*rest)()) {
  const pid_t child = ::fork();
  if (child == 0) rest();
  int status = -1;
  const bool ended = test::eventually([&] { return ::waitpid(child, &status, WNOHANG) == child; });
  return ended && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class Fork : public SoakTest {
 protected:
  void SetUp() override {
    SoakTest::SetUp();
    keep_no_heartbeat();
    descriptors_ = status_of_child(become_descriptor_count);
    reg_info info = client();
    info.notify_result_cb = SessionLedger::note_result;
    register_client(info);
  }

  int descriptors_ = 0;  // of a child, without the library
  SessionLedger ledger_{5};
};

// On a slow machine until a child was forked while the lock was held.
TEST_F(Fork, AtAnyMomentGivesTheChildNoDescriptorAndNoReasonToHang) {
  test::MovedClock clock;
  clock.shorten_sleeps();
  ClientLoad load(ledger_, {.threads = 4});
  FaultyAaad faulty(sim_, FaultyAaad::Closes::at_random, 5);
  load.start();
  faulty.start();
  int held = 0;
  const auto fork_once = [&] {
    EXPECT_EQ(descriptors_, status_of_child(become_descriptor_count));
    const int status = status_of_child(tell_about_lock);
    EXPECT_NE(-1, status) << "a child hangs";
    held += status;
  };
  for (int n = 0; n < by_length(50, 3000) && !HasFailure(); ++n)
    fork_once();
  EXPECT_TRUE(HasFailure() || test::eventually([&] {
                if (held == 0) fork_once();
                return held > 0;
              }))
      << "no child was ever forked while the lock was held";
  load.stop();
  faulty.stop();
  EXPECT_THAT(ledger_.complaints(), IsEmpty());
  EXPECT_TRUE(test::eventually([] { return aaa_is_alive() == 1; }));
}

using Loading = SoakTest;

TEST_F(Loading, WithARegistrationInEachRoundLeavesNothingBehind) {
  const int rounds = by_length(50, 1000);
  test::ChildProgram loader(LIBRARY_LOADER_PROGRAM, {SHARED_LIBRARY, std::to_string(rounds)},
                            directory());
  EXPECT_EQ(0, loader.exit_status(by_length(std::chrono::seconds(60), std::chrono::seconds(600))))
      << loader.remaining_errors();
  EXPECT_TRUE(sim_.wait_for_connections(0));
  EXPECT_EQ(2u * static_cast<std::size_t>(rounds), sim_.accepted_connections());
}

}  // namespace
}  // namespace soak
