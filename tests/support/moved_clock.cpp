#include "support/moved_clock.h"

#include <pthread.h>
#include <sys/sysinfo.h>
#include <time.h>
#include <unistd.h>

#include <atomic>

namespace {

std::atomic<std::int64_t> offset_us{0};
std::atomic<bool> sleeps_are_short{false};
std::atomic<std::uint32_t> sleep_count{0};
std::atomic<std::uint64_t> slept_in_all_us{0};

constexpr useconds_t short_sleep_us = 1000;

// Returns how long to really sleep.
useconds_t note_sleep(useconds_t asked_us) {
  ++sleep_count;
  slept_in_all_us += asked_us;
  if (!sleeps_are_short) return asked_us;
  offset_us += asked_us;
  return short_sleep_us;
}

}  // namespace

extern "C" {

int __real_clock_gettime(clockid_t clock, timespec* now);
int __real_sysinfo(struct sysinfo* info);
int __real_usleep(useconds_t us);
int __real_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline);

int __wrap_clock_gettime(clockid_t clock, timespec* now) {
  const int result = __real_clock_gettime(clock, now);
  if (clock == CLOCK_MONOTONIC) {
    const std::int64_t us = std::int64_t{now->tv_sec} * 1000000 + now->tv_nsec / 1000 + offset_us;
    now->tv_sec = us / 1000000;
    now->tv_nsec = us % 1000000 * 1000;
  }
  return result;
}

int __wrap_sysinfo(struct sysinfo* info) {
  const int result = __real_sysinfo(info);
  info->uptime += offset_us / 1000000;
  return result;
}

// Deadlines of the library are on the monotonic clock as it sees it.
int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline) {
  timespec real = *deadline;
  const std::int64_t us =
      std::int64_t{real.tv_sec} * 1000000 + real.tv_nsec / 1000 - offset_us.load();
  real.tv_sec = us / 1000000;
  real.tv_nsec = us % 1000000 * 1000;
  return __real_pthread_cond_timedwait(condition, mutex, &real);
}

int __wrap_usleep(useconds_t us) {
  return __real_usleep(note_sleep(us));
}

unsigned __wrap_sleep(unsigned seconds) {
  __real_usleep(note_sleep(seconds * 1000000));
  return 0;
}

}  // extern "C"

namespace test {

MovedClock::~MovedClock() {
  offset_us = 0;
  sleeps_are_short = false;
}

void MovedClock::advance(std::int64_t seconds) {
  offset_us += seconds * 1000000;
}
void MovedClock::shorten_sleeps() {
  sleeps_are_short = true;
}
std::uint32_t MovedClock::sleeps() const {
  return total_sleeps() - sleeps_before_;
}
std::uint64_t MovedClock::slept_us() const {
  return total_slept_us() - slept_before_;
}
std::uint32_t MovedClock::total_sleeps() {
  return sleep_count;
}
std::uint64_t MovedClock::total_slept_us() {
  return slept_in_all_us;
}

std::uint32_t library_seconds() {
  timespec now = {};
  __wrap_clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint32_t>(now.tv_sec);
}

}  // namespace test
