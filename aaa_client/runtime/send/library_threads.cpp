#include "runtime/send/library_threads.h"

#include <sys/prctl.h>
#include <sys/sysinfo.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "aaa_client.h"
#include "ham_client.h"
#include "session/state/locks.h"
#include "transport/base/cancellation.h"
#include "transport/base/clock.h"
#include "transport/debug_log.h"

namespace aaa {
namespace {

constexpr int end_limit_ms = 2000;
constexpr int turn_limit_ms = 100;

// The calling thread's state, undone when it ends.
struct ThreadLife {
  bool is_counted = false;  // started by the library
  ThreadRole role = ThreadRole::flush;
  bool is_watched = false;
  bool has_turn = false;
  unsigned takers = 0;  // its share of ThreadTable::takers; 2 when a callback runs the loop again
};
constinit thread_local ThreadLife own_life;

// Guards the thread table. No other lock is taken under it.
Mutex register_lock = PTHREAD_MUTEX_INITIALIZER;

struct ThreadTable {
  unsigned living = 0;  // started and not ended
  unsigned takers = 0;  // receive threads and event loop tasks that dispatch messages
  bool has_condition = false;
};
ThreadTable threads GUARDED_BY(register_lock);

// Signalled at every end; waits use the monotonic clock. Initialised with the first thread or wait.
pthread_cond_t something_ended;

void make_condition() REQUIRES(register_lock) {
  if (threads.has_condition) return;
  pthread_condattr_t attributes;
  pthread_condattr_init(&attributes);
  pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
  pthread_cond_init(&something_ended, &attributes);
  pthread_condattr_destroy(&attributes);
  threads.has_condition = true;
}

void end_life(void*) {
  const CleanupScope cleanup;
  leave_watchdog();
  const ThreadLife ended = own_life;
  own_life = {};
  if (ended.is_counted) thread_has_ended(ended.role);
}

void live(const ThreadLife& life, void (*body)()) {
  forbid_cancellation();
  own_life = life;
  pthread_cleanup_push(end_life, nullptr);
  body();
  pthread_cleanup_pop(1);
}

timespec after(int limit_ms) {
  timespec when = {};
  clock_gettime(CLOCK_MONOTONIC, &when);
  when.tv_sec += limit_ms / 1000;
  when.tv_nsec += limit_ms % 1000 * 1000000L;
  if (when.tv_nsec >= 1000000000L) {
    when.tv_nsec -= 1000000000L;
    ++when.tv_sec;
  }
  return when;
}

void unlock_register(void*) RELEASE(register_lock) {
  const CleanupScope cleanup;
  unlock(register_lock);
}

// Waits until `counter` is down to `own`, then adds `entering`. Returns false at the time limit.
bool wait_and_enter(unsigned ThreadTable::*counter, unsigned own, unsigned entering,
                    int limit_ms) NO_THREAD_SAFETY_ANALYSIS {
  const timespec deadline = after(limit_ms);
  bool is_down = false;
  lock(register_lock);
  pthread_cleanup_push(unlock_register, nullptr);
  make_condition();
  while (threads.*counter > own &&
         pthread_cond_timedwait(&something_ended, &register_lock, &deadline) != ETIMEDOUT) {
  }
  is_down = threads.*counter <= own;
  if (is_down) threads.*counter += entering;
  pthread_cleanup_pop(1);
  return is_down;
}

}  // namespace

std::int32_t start_library_thread(ThreadRole role, pthread_t& thread, void* (*routine)(void*),
                                  const ThreadName& name) {
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) {
    AAA_DEBUG_LOG_AS(name.starter, "aaalib attr init failed\r\n");
    return -1;
  }
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  thread_will_start(role);
  pthread_t started = {};
  const int error = pthread_create(&started, &attributes, routine, nullptr);
  pthread_attr_destroy(&attributes);
  if (error != 0) {
    thread_has_ended(role);
    AAA_DEBUG_LOG_AS(name.starter, "aaalib create %s thread failed\r\n", name.thread);
    return -1;
  }
  store(thread, started);
  return 0;
}

bool stop_library_thread(pthread_t& thread) {
  const pthread_t running = load(thread);
  if (running == 0) return false;
  pthread_cancel(running);
  store(thread, pthread_t{0});
  return true;
}

void thread_will_start(ThreadRole role) {
  const ScopedLock lock(register_lock);
  make_condition();
  ++threads.living;
  if (role == ThreadRole::receive) ++threads.takers;
}

void thread_has_ended(ThreadRole role) {
  const ScopedLock lock(register_lock);
  --threads.living;
  if (role == ThreadRole::receive) --threads.takers;
  pthread_cond_broadcast(&something_ended);
}

void run_library_thread(ThreadRole role, void (*body)()) {
  live({.is_counted = true, .role = role, .takers = role == ThreadRole::receive ? 1U : 0U}, body);
}

void run_clients_thread(void (*body)()) {
  live({}, body);
}

void name_thread_after_process(const char* suffix) {
  char name[16] = {};
  std::snprintf(name, sizeof name - 1, "%d%s", getpid(), suffix);
  set_thread_name(name);
}

void join_watchdog(const char* log_name) {
  own_life.is_watched = true;
  if (aaa_reg_ham_client_notify() < 0) {
    AAA_DEBUG_LOG_AS(log_name, "ham_client_reg_thread_notify: %s\r\n", std::strerror(errno));
  }
}

void leave_watchdog() {
  if (own_life.is_watched) aaa_dereg_ham_client_notify();
  own_life.is_watched = false;
}

void feed_watchdog(WatchdogStamp& stamp) {
  const std::uint32_t now = monotonic_seconds();
  if (now == stamp.read_at) return;
  stamp.read_at = now;
  aaa_check_reset_ham_client_notify(&stamp.fed_at);
}

void wait_for_library_threads(unsigned staying) {
  wait_and_enter(&ThreadTable::living, staying + (own_life.is_counted ? 1 : 0), 0, end_limit_ms);
}

bool wait_for_turn(int limit_ms) {
  if (!own_life.is_counted || own_life.has_turn) return true;
  const CancellationScope cancellable(PTHREAD_CANCEL_ENABLE);
  own_life.has_turn = wait_and_enter(&ThreadTable::takers, own_life.takers, 0, limit_ms);
  return own_life.has_turn;
}

TaskTurn::TaskTurn()
    : taken_(wait_and_enter(&ThreadTable::takers, own_life.takers, 1, turn_limit_ms)) {
  if (taken_) ++own_life.takers;
}

TaskTurn::~TaskTurn() {
  if (!taken_) return;
  --own_life.takers;
  const ScopedLock lock(register_lock);
  --threads.takers;
  pthread_cond_broadcast(&something_ended);
}

}  // namespace aaa

void set_thread_name(char* name) {
  if (name == nullptr) return;
  prctl(PR_SET_NAME, name);
  if (prctl(PR_GET_NAME, name) == 0) AAA_DEBUG_LOG("thread name: %s.\r\n", name);
}

namespace aaa {
namespace {

constexpr std::uint32_t watch_interval = 60;
constexpr std::uint32_t watch_tolerance = 10;
constexpr std::int64_t feed_after_seconds = 50;

struct Uptime {
  std::int32_t result;
  std::uint32_t seconds;
};

Uptime read_uptime() {
  struct sysinfo info = {};
  const int result = sysinfo(&info);
  return {result, static_cast<std::uint32_t>(info.uptime)};
}

}  // namespace

std::uint32_t uptime_seconds() {
  return read_uptime().seconds;
}

}  // namespace aaa

std::int32_t aaa_reg_ham_client_thread_notify(std::int32_t pid, std::int32_t tid) {
  return ham_client_reg_thread_notify(pid, tid, aaa::watch_interval, aaa::watch_tolerance);
}

std::int32_t aaa_reg_ham_client_notify() {
  return aaa_reg_ham_client_thread_notify(getpid(), aaa::thread_id());
}

std::int32_t aaa_reset_ham_client_notify() {
  return ham_client_reset_thread_notify(getpid(), aaa::thread_id(), aaa::watch_interval,
                                        aaa::watch_tolerance);
}

std::int32_t aaa_dereg_ham_client_notify() {
  return aaa_dereg_ham_client_notify_by_tid(aaa::thread_id());
}

std::int32_t aaa_dereg_ham_client_notify_by_tid(std::int32_t tid) {
  return ham_client_unreg_thread_notify(tid);
}

std::int32_t aaa_check_reset_ham_client_notify(std::uint32_t* stamp) {
  const aaa::Uptime uptime = aaa::read_uptime();
  const std::int64_t distance = std::int64_t{uptime.seconds} - std::int64_t{*stamp};
  if (distance >= -aaa::feed_after_seconds && distance <= aaa::feed_after_seconds) {
    return uptime.result;
  }
  const std::int32_t result = aaa_reset_ham_client_notify();
  if (result >= 0) *stamp = uptime.seconds;
  return result;
}
