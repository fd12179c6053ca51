#include "soak/hang_watch.h"

#include <execinfo.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

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

std::vector<Thread> threads_of(pid_t process) {
  std::vector<Thread> threads;
  std::error_code ignored;
  for (const auto& task :
       std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task", ignored)) {
    Thread thread{std::stoi(task.path().filename()), ""};
    std::getline(std::ifstream(task.path() / "comm"), thread.name);
    threads.push_back(thread);
  }
  return threads;
}

std::size_t receive_threads_of(pid_t process) {
  // A thread is named with at most 14 characters.
  const std::string name = (std::to_string(process) + "_aaalib_th").substr(0, 14);
  return static_cast<std::size_t>(std::ranges::count(threads_of(process), name, &Thread::name));
}

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
    for (const Thread& thread : threads_of(getpid()))
      print_stack(thread);
    std::abort();
  }
}

}  // namespace soak
