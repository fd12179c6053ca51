#include "support/scripted_calls.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <time.h>
#include <unistd.h>

#include <cstdarg>
#include <memory>
#include <mutex>
#include <utility>

#include "runtime/receive/receive_thread.h"
#include "runtime/send/library_threads.h"
#include "support/failing_allocator.h"

namespace test {
namespace {

std::mutex& scripts_lock() {
  static auto* const lock = new std::mutex;
  return *lock;
}

std::shared_ptr<const Scripts>& scripts_in_force() {
  static auto* const scripts = new std::shared_ptr<const Scripts>(new Scripts);
  return *scripts;
}

std::shared_ptr<const Scripts> current() {
  const std::lock_guard<std::mutex> hold(scripts_lock());
  return scripts_in_force();
}

void replace(Scripts scripts) {
  auto next = std::make_shared<const Scripts>(std::move(scripts));
  const std::lock_guard<std::mutex> hold(scripts_lock());
  scripts_in_force().swap(next);
}

thread_local bool unscripted = false;

// The script's answer, if there is a script and it has one.
template <class Result, class... Parameters, class... Arguments>
std::optional<Result> ask(std::function<std::optional<Result>(Parameters...)> Scripts::*script,
                          Arguments... arguments) {
  if (unscripted) return std::nullopt;
  const auto scripts = current();
  const auto& function = (*scripts).*script;
  return function ? function(arguments...) : std::nullopt;
}

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

// A time with the clock's offset added, so many times.
timespec moved(const timespec& time, std::int64_t times) {
  const std::int64_t us =
      std::int64_t{time.tv_sec} * 1000000 + time.tv_nsec / 1000 + times * offset_us;
  return {.tv_sec = static_cast<time_t>(us / 1000000),
          .tv_nsec = static_cast<long>(us % 1000000 * 1000)};
}

std::optional<void*> ask_for_block(std::size_t size) {
  return ask(&Scripts::malloc, size);
}

}  // namespace

ScriptedCalls::ScriptedCalls(Scripts scripts) {
  replace(std::move(scripts));
  answer_malloc(ask_for_block);
}
ScriptedCalls::~ScriptedCalls() {
  replace({});
}

UnscriptedCalls::UnscriptedCalls() : before_(std::exchange(unscripted, true)) {}
UnscriptedCalls::~UnscriptedCalls() {
  unscripted = before_;
}

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
  ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);  // moved, like the library's own calls
  return static_cast<std::uint32_t>(now.tv_sec);
}

void enter_second() {
  timespec now = {};
  do {
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  } while (now.tv_nsec > 700000000);
}

}  // namespace test

using test::ask;
using test::Scripts;

// A call that is answered by the script of its name, given these of its arguments, or goes through.
#define SCRIPTED_CALL(result, call, parameters, arguments, ...)         \
  result __real_##call parameters;                                      \
  result __wrap_##call parameters {                                     \
    const auto answer = ask(&Scripts::call __VA_OPT__(, ) __VA_ARGS__); \
    return answer ? *answer : __real_##call arguments;                  \
  }

extern "C" {

SCRIPTED_CALL(ssize_t, send, (int fd, const void* data, std::size_t size, int flags),
              (fd, data, size, flags), fd, data, size, flags)
SCRIPTED_CALL(ssize_t, recv, (int fd, void* data, std::size_t size, int flags),
              (fd, data, size, flags), fd, data, size, flags)
SCRIPTED_CALL(int, socket, (int domain, int type, int protocol), (domain, type, protocol), domain,
              type)
SCRIPTED_CALL(int, bind, (int fd, const sockaddr* address, socklen_t length), (fd, address, length),
              fd, address, length)
SCRIPTED_CALL(int, connect, (int fd, const sockaddr* address, socklen_t length),
              (fd, address, length), fd, address, length)
SCRIPTED_CALL(int, setsockopt, (int fd, int level, int option, const void* value, socklen_t length),
              (fd, level, option, value, length), fd, level, option)
SCRIPTED_CALL(int, close, (int fd), (fd), fd)
SCRIPTED_CALL(int, poll, (pollfd * fds, nfds_t count, int timeout_ms), (fds, count, timeout_ms),
              fds->fd, timeout_ms)
SCRIPTED_CALL(int, select,
              (int limit, fd_set* readable, fd_set* writable, fd_set* failed, timeval* timeout),
              (limit, readable, writable, failed, timeout), std::ref(*timeout))
SCRIPTED_CALL(int, pthread_attr_init, (pthread_attr_t * attributes), (attributes))
SCRIPTED_CALL(int, pthread_mutexattr_init, (pthread_mutexattr_t * attributes), (attributes))
SCRIPTED_CALL(int, pthread_mutex_init,
              (pthread_mutex_t * mutex, const pthread_mutexattr_t* attributes), (mutex, attributes),
              mutex)
SCRIPTED_CALL(int, pthread_setaffinity_np,
              (pthread_t thread, std::size_t size, const cpu_set_t* cores), (thread, size, cores),
              thread, size, cores)

SCRIPTED_CALL(int, mkdir, (const char* path, mode_t mode), (path, mode))
SCRIPTED_CALL(int, chmod, (const char* path, mode_t mode), (path, mode))
SCRIPTED_CALL(ssize_t, read, (int fd, void* data, std::size_t size), (fd, data, size))

int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  const auto answer = ask(&Scripts::open);
  return answer ? *answer : __real_open(path, flags, mode);
}

int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument) {
  const auto answer = ask(&Scripts::pthread_create);
  if (!answer) return __real_pthread_create(thread, attributes, routine, argument);
  // A thread that is there in name only has ended before it began.
  if (*answer == 0) {
    aaa::thread_has_ended(routine == aaa::aaa_lib_thread ? aaa::ThreadRole::receive
                                                         : aaa::ThreadRole::flush);
  }
  return *answer;
}

int __real_clock_gettime(clockid_t clock, timespec* now);
int __wrap_clock_gettime(clockid_t clock, timespec* now) {
  const int result = __real_clock_gettime(clock, now);
  if (clock == CLOCK_MONOTONIC || clock == CLOCK_MONOTONIC_COARSE) *now = test::moved(*now, 1);
  return result;
}

int __real_sysinfo(struct sysinfo* info);
int __wrap_sysinfo(struct sysinfo* info) {
  if (const auto answer = ask(&Scripts::sysinfo)) return *answer;
  const int result = __real_sysinfo(info);
  info->uptime += test::offset_us / 1000000;
  return result;
}

int __real_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline);
// Deadlines of the library are on the monotonic clock as it sees it.
int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline) {
  const timespec real = test::moved(*deadline, -1);
  return __real_pthread_cond_timedwait(condition, mutex, &real);
}

int __real_usleep(useconds_t us);
int __wrap_usleep(useconds_t us) {
  return __real_usleep(test::note_sleep(us));
}

unsigned __wrap_sleep(unsigned seconds) {
  __real_usleep(test::note_sleep(seconds * 1000000));
  return 0;
}

}  // extern "C"
