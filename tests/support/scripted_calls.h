// System calls of the library that a test answers in the system's place. The tests are linked so
// that the library's calls come here first; without a script they reach the system.
#pragma once

#include <pthread.h>
#include <sched.h>
#include <sys/select.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>
#include <functional>
#include <optional>

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
  std::function<std::optional<int>()> pthread_create = {};
  std::function<std::optional<int>()> pthread_attr_init = {};
  std::function<std::optional<int>()> pthread_mutexattr_init = {};
  std::function<std::optional<int>(pthread_mutex_t* mutex)> pthread_mutex_init = {};
  std::function<std::optional<int>(pthread_t thread, std::size_t size, const cpu_set_t* cores)>
      pthread_setaffinity_np = {};
  // Blocks of the library; those of the test and the simulator come from operator new.
  std::function<std::optional<void*>(std::size_t size)> malloc = {};
};

// The answer of a call that fails.
inline int fails(int error) {
  errno = error;
  return -1;
}

// The scripts in force while it lives. One at a time; set before the library's threads start, or
// with the simulator quiet.
class ScriptedCalls {
 public:
  explicit ScriptedCalls(Scripts scripts);
  ~ScriptedCalls();
  ScriptedCalls(const ScriptedCalls&) = delete;
  ScriptedCalls& operator=(const ScriptedCalls&) = delete;
};

}  // namespace test
