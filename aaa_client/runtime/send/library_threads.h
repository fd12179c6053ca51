// The library's threads: starting, naming, watching and stopping them, and waiting for their end.
#pragma once

#include <pthread.h>

#include <cstdint>

namespace aaa {

enum class ThreadRole { receive, flush };

// For log lines: the function that starts the thread, and what the thread is called.
struct ThreadName {
  const char* starter;
  const char* thread;
};

// Starts a detached thread with a null argument and stores its id in `thread`. Returns 0; or -1
// after a debug line, with `thread` unchanged. REQUIRES: `routine` calls run_library_thread() with
// the same role.
std::int32_t start_library_thread(ThreadRole role, pthread_t& thread, void* (*routine)(void*),
                                  const ThreadName& name);

// Cancels a thread, if there is one, and clears its id. Returns whether there was one. It may run
// until its next cancellation point. REQUIRES: the lock that guards `thread` held.
bool stop_library_thread(pthread_t& thread);

// Update the count of threads; called only by the functions here and by tests that start none.
void thread_will_start(ThreadRole role);
void thread_has_ended(ThreadRole role);

// Runs `body` on a library thread, with cancellation disabled. However the thread ends, even by
// cancellation, it leaves the watchdog and wakes the threads that wait for its end.
void run_library_thread(ThreadRole role, void (*body)());

// The same on a client's thread. The library does not wait for the end of such a thread.
void run_clients_thread(void (*body)());

// For the calling thread, inside one of the two above.

// Names it "<pid><suffix>", truncated to 14 characters.
void name_thread_after_process(const char* suffix);

// Registers it with the watchdog until it ends. A refusal is logged under `log_name`.
void join_watchdog(const char* log_name);

// Leaves the watchdog, if it has joined.
void leave_watchdog();

// When the watchdog was last fed (uptime), and when the uptime was last read (monotonic seconds).
struct WatchdogStamp {
  std::uint32_t fed_at;
  std::uint32_t read_at = 0;
};

// aaa_check_reset_ham_client_notify() for a loop. Reading the uptime is a system call: once a
// second is enough.
void feed_watchdog(WatchdogStamp& stamp);

// Waits, at most 2 seconds, until no more than `staying` threads of the library are left, not
// counting the calling one. A cancellation point. REQUIRES: the caller holds no lock of the
// library.
void wait_for_library_threads(unsigned staying);

// Callbacks run one at a time: a thread or task that dispatches messages first waits until those of
// earlier registrations have returned from their callbacks.

// Waits at most `limit_ms` until the calling receive thread may dispatch. The permission lasts
// until the thread ends. A cancellation point. REQUIRES: the caller holds no lock and owns nothing.
bool wait_for_turn(int limit_ms);

// Permission to dispatch for a task on the client's event loop.
class TaskTurn {
 public:
  // Waits for it at most 100 ms; false when it was not granted.
  TaskTurn();
  ~TaskTurn();
  TaskTurn(const TaskTurn&) = delete;
  TaskTurn& operator=(const TaskTurn&) = delete;

  explicit operator bool() const { return taken_; }

 private:
  bool taken_ = false;
};

// The system's uptime in seconds.
std::uint32_t uptime_seconds();

}  // namespace aaa
