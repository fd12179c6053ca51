// The calls of the library that the tests interpose: system calls that a test answers in the
// system's place, and the clocks and sleeps. The tests are linked so that the library's calls come
// here first; without a script they reach the system. Blocks: support/failing_allocator.h.
#pragma once

#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <sys/select.h>
#include <sys/types.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "aaa_client.h"

struct sockaddr;

namespace test {

// A script gets the call's arguments. It returns the call's result, having set errno where that
// matters, or nothing to let the call go through. Scripts run on the calling thread.
struct Scripts {
  std::function<std::optional<ssize_t>(int fd, const void* data, std::size_t size, int flags)>
      send = {};
  std::function<std::optional<ssize_t>(int fd, void* data, std::size_t size, int flags)> recv = {};
  std::function<std::optional<int>(int domain, int type)> socket = {};
  std::function<std::optional<int>(int fd, const sockaddr* address, unsigned length)> bind = {};
  std::function<std::optional<int>(int fd, const sockaddr* address, unsigned length)> connect = {};
  std::function<std::optional<int>(int fd, int level, int option)> setsockopt = {};
  std::function<std::optional<int>(int fd)> close = {};
  std::function<std::optional<int>(int fd, int timeout_ms)> poll = {};
  // May change the timeout that the system is asked for.
  std::function<std::optional<int>(timeval& timeout)> select = {};
  std::function<std::optional<int>()> sysinfo = {};
  std::function<std::optional<int>()> pthread_create = {};
  std::function<std::optional<int>()> pthread_attr_init = {};
  std::function<std::optional<int>()> pthread_mutexattr_init = {};
  std::function<std::optional<int>(pthread_mutex_t* mutex)> pthread_mutex_init = {};
  std::function<std::optional<int>(pthread_t thread, std::size_t size, const cpu_set_t* cores)>
      pthread_setaffinity_np = {};
  // Of files.
  std::function<std::optional<int>()> mkdir = {};
  std::function<std::optional<int>()> chmod = {};
  std::function<std::optional<int>()> open = {};
  std::function<std::optional<ssize_t>()> read = {};
  // Blocks of the library; those of the test and the simulator come from operator new.
  std::function<std::optional<void*>(std::size_t size)> malloc = {};
};

// The scripts in force while it lives. One at a time; set before the library's threads start, or
// with the simulator quiet.
class ScriptedCalls {
 public:
  explicit ScriptedCalls(Scripts scripts);
  ~ScriptedCalls();
  ScriptedCalls(const ScriptedCalls&) = delete;
  ScriptedCalls& operator=(const ScriptedCalls&) = delete;
};

// While it lives, this thread's calls go through: the test's own, and those that a script makes.
class UnscriptedCalls {
 public:
  UnscriptedCalls();
  ~UnscriptedCalls();
  UnscriptedCalls(const UnscriptedCalls&) = delete;
  UnscriptedCalls& operator=(const UnscriptedCalls&) = delete;

 private:
  const bool before_;
};

// The answer of a call that fails.
inline int fails(int error) {
  errno = error;
  return -1;
}

// ---- Scripts for any call. ----

// Fails each time; fails the n-th time, counted from 1.
inline auto failing(int error) {
  return [error](auto&&...) { return fails(error); };
}
inline auto failing_at(int n, int error) {
  return [error, left = std::make_shared<std::atomic<int>>(n)](auto&&...) -> std::optional<int> {
    if (--*left != 0) return std::nullopt;
    return fails(error);
  };
}
// A call that must not be made.
inline auto unwanted() {
  return [](auto&&...) { return ADD_FAILURE() << "an unwanted call", fails(EIO); };
}
// Answers with `result`: an error number, of the calls of pthreads.
inline auto returning(int result) {
  return [result](auto&&...) { return result; };
}
// Lets the call go through once `action` has run.
template <class Action>
auto noting(Action action) {
  return [action](auto&&...) mutable { return action(), std::nullopt; };
}
// As `script` says, but only on the socket that is on record when the call comes.
template <class Script>
auto on_socket(const std::int32_t& field, Script script) {
  return [&field, script](int fd, auto&&... rest) mutable -> std::optional<ssize_t> {
    if (fd != __atomic_load_n(&field, __ATOMIC_RELAXED)) return std::nullopt;
    return script(fd, rest...);
  };
}
template <class Script>
auto on_request_socket(Script script) {
  return on_socket(g_aaa_client_cb.sync_fd, script);
}
template <class Script>
auto on_event_socket(Script script) {
  return on_socket(g_aaa_client_cb.async_fd, script);
}

inline Scripts no_memory() {
  return {.malloc = [](std::size_t) { return nullptr; }};
}
inline Scripts no_memory_for(std::size_t block) {
  return {.malloc = [block](std::size_t size) -> std::optional<void*> {
    if (size != block) return std::nullopt;
    return nullptr;
  }};
}

// ---- The clocks that the library reads and the sleeps that it takes. ----

// std::chrono does not come here, so deadlines of tests stay real.
class MovedClock {
 public:
  MovedClock() = default;
  // Puts the clocks right again.
  ~MovedClock();
  MovedClock(const MovedClock&) = delete;
  MovedClock& operator=(const MovedClock&) = delete;

  // Moves the monotonic clock and the uptime.
  void advance(std::int64_t seconds);

  // From now on sleeps of the library last a millisecond and move the clock by what was asked.
  void shorten_sleeps();

  // Sleeps that the library has taken since this object was made, and their sum in microseconds.
  std::uint32_t sleeps() const;
  std::uint64_t slept_us() const;

 private:
  std::uint32_t sleeps_before_ = total_sleeps();
  std::uint64_t slept_before_ = total_slept_us();

  static std::uint32_t total_sleeps();
  static std::uint64_t total_slept_us();
};

// The monotonic second as the library sees it.
std::uint32_t library_seconds();

// Waits until that second has some time left, so that only the test moves the clock to the next.
void enter_second();

}  // namespace test
