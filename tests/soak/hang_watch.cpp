#include "soak/hang_watch.h"

#include <execinfo.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "support/signal_handler.h"
#include "support/threads.h"

namespace soak {
namespace {

constexpr int max_frames = 64;
std::atomic<pid_t> printed_by{0};

int stack_signal() {
  return SIGRTMAX - 1;
}

void print_own_stack(int) {
  void* frames[max_frames];
  backtrace_symbols_fd(frames, backtrace(frames, max_frames), STDERR_FILENO);
  printed_by = gettid();
}

// The first backtrace() loads a library, which a signal handler must not do.
void prepare_stacks() {
  void* frame = nullptr;
  backtrace(&frame, 1);
  test::handle_from_now_on(stack_signal(), print_own_stack);
}

void print_stack(const test::Thread& thread) {
  std::fprintf(stderr, "---- thread %d, %s\n", thread.id, thread.name.c_str());
  printed_by = 0;
  syscall(SYS_tgkill, getpid(), thread.id, stack_signal());
  for (int waits = 0; waits < 200 && printed_by != thread.id; ++waits)
    usleep(1000);
  if (printed_by != thread.id) std::fprintf(stderr, "does not take the signal\n");
}

}  // namespace

HangWatch::~HangWatch() {
  {
    const std::lock_guard hold(lock_);
    over_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void HangWatch::begin_part(std::function<std::string()> describe) {
  const std::lock_guard hold(lock_);
  describe_ = std::move(describe);
  deadline_of_part_ = Clock::now() + std::chrono::seconds(60);
}

void HangWatch::end_part() {
  const std::lock_guard hold(lock_);
  deadline_of_part_ = Clock::time_point::max();
}

void HangWatch::watch() {
  prepare_stacks();
  std::unique_lock hold(lock_);
  while (!changed_.wait_for(hold, std::chrono::seconds(1), [this] { return over_; })) {
    if (Clock::now() < std::min(deadline_, deadline_of_part_)) continue;
    std::fprintf(stderr, "hangs: %s\n", describe_().c_str());
    for (const test::Thread& thread : test::threads_of(getpid()))
      print_stack(thread);
    std::abort();
  }
}

}  // namespace soak
