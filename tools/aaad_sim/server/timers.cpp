#include "server/timers.h"

#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>

namespace aaa_sim {
namespace {

using std::chrono::nanoseconds;

timespec to_timespec(nanoseconds duration) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
  return {static_cast<time_t>(seconds.count()), static_cast<long>((duration - seconds).count())};
}

}  // namespace

TimePoint kernel_now() {
  timespec now{};
  ::syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now);
  return TimePoint(std::chrono::seconds(now.tv_sec) + nanoseconds(now.tv_nsec));
}

Timer::Timer()
    : fd_(checked(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC), "timer")) {}

void Timer::set_once(nanoseconds after) {
  // 0 would stop the timer.
  const itimerspec moment{{}, to_timespec(std::max(after, nanoseconds(1)))};
  ::timerfd_settime(fd_.get(), 0, &moment, nullptr);
}

void Timer::set_every(nanoseconds interval) {
  const itimerspec moments{to_timespec(interval), to_timespec(interval)};
  ::timerfd_settime(fd_.get(), 0, &moments, nullptr);
}

void Timer::acknowledge() {
  std::uint64_t expirations;
  [[maybe_unused]] const ssize_t got = ::read(fd_.get(), &expirations, sizeof expirations);
}

void DelayedActions::add(nanoseconds delay, std::uint32_t key, std::function<void()> action) {
  actions_.emplace(kernel_now() + delay, Action{key, std::move(action)});
  set_timer();
}

void DelayedActions::drop(std::uint32_t key) {
  if (key == 0) return;
  std::erase_if(actions_, [key](const auto& due) { return due.second.key == key; });
}

void DelayedActions::run_due() {
  timer_.acknowledge();
  while (!actions_.empty() && actions_.begin()->first <= kernel_now()) {
    const Action action = std::move(actions_.extract(actions_.begin()).mapped());
    action.run();
  }
  set_timer();
}

void DelayedActions::set_timer() {
  if (!actions_.empty()) timer_.set_once(actions_.begin()->first - kernel_now());
}

}  // namespace aaa_sim
