// The library's threads: starting them, naming and watching them, what they leave behind, and
// waiting for their end.
#pragma once

#include <pthread.h>

#include <cstdint>

namespace aaa {

enum class ThreadRole { receive, flush };

// What a thread's start is logged as: the function that starts it, and what it calls the thread.
struct ThreadName {
  const char* starter;
  const char* thread;
};

// Starts a detached thread with a null argument and stores its id. Returns 0; -1, with a debug
// line, and the id as it was, when there is none.
// REQUIRES: `routine` is run_library_thread() with the same role.
std::int32_t start_library_thread(ThreadRole role, pthread_t& thread, void* (*routine)(void*),
                                  const ThreadName& name);

// Cancels a thread, if there is one, and forgets its id. Returns whether there was one. It may go
// on until its next cancellation point. REQUIRES: the lock of `thread` held.
bool stop_library_thread(pthread_t& thread);

// Count a thread from before its start until it has ended. The functions above and below do.
void thread_will_start(ThreadRole role);
void thread_has_ended(ThreadRole role);

// The life of a library thread: runs `body` with cancellation disabled. However the thread ends,
// also by cancellation, it leaves the watchdog and lets those go on who wait for its end.
void run_library_thread(ThreadRole role, void (*body)());

// The same for a client's thread that does the work of one: nobody waits for its end.
void run_clients_thread(void (*body)());

// For the calling thread, inside of one of the two above.

// Names it "<pid><suffix>", cut to 14 characters.
void name_thread_after_process(const char* suffix);

// Puts it under the watchdog until it ends. A refusal is logged as of the function `log_name`.
void join_watchdog(const char* log_name);

// Leaves the watchdog, if it has joined.
void leave_watchdog();

// Waits until no more than `staying` of the library's threads are left, not counting the calling
// one; at most 2 seconds. A cancellation point. REQUIRES: the caller holds no lock of the library.
void wait_for_library_threads(unsigned staying);

// Callbacks run one at a time: whoever takes messages waits until those who took messages of
// earlier registrations have come back from their callbacks.

// Waits at most `limit_ms` for the turn of the calling receive thread, which then keeps it for
// life. A cancellation point. REQUIRES: the caller holds no lock and owns nothing.
bool wait_for_turn(int limit_ms);

// The turn of a task on the client's event loop.
class TaskTurn {
 public:
  // Waits for it for at most 100 ms; false when it has not come.
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
