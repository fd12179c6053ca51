#include "soak/hang_watch.h"

#include <execinfo.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "soak/thread_list.h"
#include "support/signal_handler.h"

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

void print_stack(const Thread& thread) {
  std::fprintf(stderr, "---- thread %d, %s\n", thread.id, thread.name.c_str());
  printed_by = 0;
  syscall(SYS_tgkill, getpid(), thread.id, stack_signal());
  for (int waits = 0; waits < 200 && printed_by != thread.id; ++waits)
    usleep(1000);
  if (printed_by != thread.id) std::fprintf(stderr, "does not take the signal\n");
}

}  // namespace

void print_all_stacks() {
  for (const Thread& thread : threads_of(getpid()))
    print_stack(thread);
}

HangWatch::HangWatch(std::chrono::seconds limit) {
  prepare_stacks();
  thread_ = std::thread([this, limit] { watch(limit); });
}

HangWatch::~HangWatch() {
  {
    const std::lock_guard hold(lock_);
    over_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void HangWatch::watch(std::chrono::seconds limit) {
  std::unique_lock hold(lock_);
  if (changed_.wait_for(hold, limit, [this] { return over_; })) return;
  std::fprintf(stderr, "not over after %lld seconds\n", static_cast<long long>(limit.count()));
  print_all_stacks();
  std::abort();
}

}  // namespace soak
