#include "runtime/receive/receive_thread.h"

#include <sched.h>
#include <unistd.h>

#include <cassert>
#include <cerrno>
#include <cstring>

#include "aaa_client.h"
#include "runtime/receive/inbound.h"
#include "runtime/receive/recovery.h"
#include "runtime/send/library_threads.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "transport/base/cancellation.h"
#include "transport/base/clock.h"
#include "transport/base/descriptors.h"
#include "transport/debug_log.h"
#include "transport/read_ahead.h"

namespace aaa {

std::int32_t g_aaalib_bind_core_id = 0;

namespace {

constexpr char log_name[] = "aaa_lib_thread";
constexpr int wait_ms = 5000;

// The result of an iteration of the main loop: continue, or an error to recover from, which is 0
// when it does not break the connection.
struct Iteration {
  bool failed;
  std::int32_t error;
};

constexpr Iteration keep_running = {false, 0};
constexpr Iteration failure(std::int32_t error) {
  return {true, error};
}

void bind_to_core() {
  const std::int32_t core = load(g_aaalib_bind_core_id);
  if (core <= 0) return;
  cpu_set_t cores;
  CPU_ZERO(&cores);
  if (core < CPU_SETSIZE) CPU_SET(static_cast<std::size_t>(core), &cores);
  if (pthread_setaffinity_np(pthread_self(), sizeof cores, &cores) != 0) {
    AAA_DEBUG_LOG_AS(log_name, "SET_AFFINITY\r\n");
  }
}

// With bytes left there is no wait. A cancelled thread then ends at the next check of its id.
int wait_for_message(std::int32_t fd) {
  if (event_read_ahead.size() != 0) return 1;
  const CancellationScope cancellable(PTHREAD_CANCEL_ENABLE);
  return wait_readable(fd, wait_ms);
}

void send_heartbeat_if_due(LinkNumber link, std::uint32_t now) {
  if (heartbeat_is_due(now)) send_heartbeat(link, now);
}

// Returns false when aaad has been silent for too long.
bool keep_heartbeat(LinkNumber link) {
  if (!heartbeat_is_kept()) {
    rearm_heartbeat();
    return true;
  }
  const std::uint32_t now = monotonic_seconds();
  if (aaad_is_silent(now)) {
    rearm_heartbeat();
    AAA_DEBUG_LOG_AS(log_name, "aaalib heartbeat check fail!\r\n");
    return false;
  }
  send_heartbeat_if_due(link, now);
  return true;
}

// Cleanup handler of a thread that is cancelled in the middle of a message.
void abandon_reading(void* message) RELEASE(event_read_lock) {
  const CleanupScope cleanup;
  static_cast<LinkMessage*>(message)->release();
  unlock(event_read_lock);
}

void read_cancellably(std::int32_t fd, LinkMessage& message, ReadOutcome& outcome)
    REQUIRES(event_read_lock) {
  pthread_cleanup_push(abandon_reading, &message);
  {
    const CancellationScope cancellable(PTHREAD_CANCEL_ENABLE);
    outcome = message.read(fd, thread_rules.reader);
  }
  pthread_cleanup_pop(0);
}

// Reads a message with the socket protected from being closed. False when it was closed before.
bool read_exclusively(std::int32_t fd, LinkMessage& message, ReadOutcome& outcome) {
  lock(event_read_lock);
  const bool is_ours = load(g_aaa_client_cb.async_fd) == fd && is_receive_thread();
  if (is_ours && event_read_ahead.holds_message()) {
    outcome = message.read(fd, thread_rules.reader);  // from memory
  } else if (is_ours) {
    read_cancellably(fd, message, outcome);
  }
  unlock(event_read_lock);
  return is_ours;
}

Iteration after_reading(const ReadOutcome& outcome, const LinkMessage& message) {
  switch (outcome.step) {
    case ReadStep::done:
      dispatch(message.inbound());
      return keep_running;
    case ReadStep::header:
      AAA_DEBUG_LOG_AS(log_name, "receive error with error %s.\r\n", std::strerror(outcome.error));
      return failure(outcome.error);
    case ReadStep::marker:
      AAA_UNGATED_LOG_AS(log_name, "aaa id not match.\r\n");
      return failure(EPIPE);
    case ReadStep::memory:
      AAA_DEBUG_LOG_AS(log_name, "out of memory.\r\n");
      return failure(EPIPE);
    case ReadStep::body:
      // Not treated as a lost connection: the next header is read from the current position.
      return failure(0);
  }
  return keep_running;
}

Iteration take_message(std::int32_t fd) {
  LinkMessage message;
  ReadOutcome outcome = {};
  if (!read_exclusively(fd, message, outcome)) return keep_running;
  const Iteration result = after_reading(outcome, message);
  message.release();
  return result;
}

Iteration run_iteration(const Watched& watched, WatchdogStamp& stamp) {
  feed_watchdog(stamp);
  const int ready = wait_for_message(watched.fd);
  const int wait_error = errno;
  if (!is_receive_thread()) return keep_running;
  if (!keep_heartbeat(watched.link)) return failure(ETIMEDOUT);
  // While it waits for its turn, the thread keeps its heartbeat.
  if (ready > 0) return wait_for_turn(wait_ms) ? take_message(watched.fd) : keep_running;
  if (ready == 0 || wait_error == EINTR) return keep_running;
  AAA_DEBUG_LOG_AS(log_name, "select error! errno:%d.\r\n", wait_error);
  return failure(wait_error);
}

// Deregistering while aaad is away does not cancel the thread.
bool may_tell_client() {
  return is_receive_thread() && !is_deregistered();
}

void feed(std::uint32_t* stamp) {
  if (stamp != nullptr) aaa_check_reset_ham_client_notify(stamp);
}

// For a thread that reads no messages. Whether aaad is silent is found out when it reads again.
void stay_alive(std::uint32_t* stamp) {
  feed(stamp);
  const LinkNumber link = link_number();
  if (reg_state() != AAA_REG_REGISTERED || !heartbeat_is_kept()) return;
  send_heartbeat_if_due(link, monotonic_seconds());
}

// Raises an event in the thread's turn, unless the client has deregistered.
void tell_client(aaa_client_event event, std::uint32_t* stamp) {
  while (may_tell_client() && !wait_for_turn(wait_ms))
    stay_alive(stamp);
  raise_event(event, may_tell_client);
}

// Returns false when the client has deregistered and the thread must end.
bool recover(const Watched& watched, std::int32_t error, std::uint32_t& stamp) {
  switch (give_up_lost_link(LinkOwner::receive_thread(), watched, error)) {
    case Damage::registration_ended:
      return false;
    case Damage::none:
      return true;
    case Damage::link_lost:
      tell_client(AAA_EVENT_CONNECTION_LOST, &stamp);
      aaa_svr_rereg(&stamp);
      return true;
  }
  return false;
}

void run_main_loop() {
  WatchdogStamp stamp = {.fed_at = uptime_seconds()};
  while (is_receive_thread()) {
    const Watched watched = watched_socket();
    if (watched.fd < 0) {
      AAA_DEBUG_LOG_AS(log_name, "aaa client async socket not created.\r\n");
      return;
    }
    const Iteration result = run_iteration(watched, stamp);
    if (result.failed && !recover(watched, result.error, stamp.fed_at)) return;
  }
}

void pause() {
  const CancellationScope cancellable(PTHREAD_CANCEL_ENABLE);
  sleep(thread_rules.pause_seconds);
}

// Returns false when the client deregistered meanwhile.
bool retry_until_registered(std::uint32_t* stamp) {
  for (;;) {
    feed(stamp);
    const Attempt attempt = try_again(LinkOwner::receive_thread());
    if (attempt != Attempt::failed) return attempt == Attempt::registered;
    pause();
  }
}

void wait_for_registration() {
  const ScopedLock lock(aaa_lib_lock);
}

void forget_thread() {
  const ScopedLock lock(aaa_lib_lock);
  if (is_receive_thread()) store(g_receive_msg_tid, pthread_t{0});
}

void keep_registered() {
  wait_for_registration();
  aaa_svr_rereg(nullptr);
  if (reg_state() != AAA_REG_REGISTERED) {
    AAA_DEBUG_LOG_AS(log_name, "aaa client not registered to aaad. exit thread.\r\n");
    return;
  }
  name_thread_after_process("_aaalib_th");
  join_watchdog(log_name);
  bind_to_core();
  run_main_loop();
  leave_watchdog();
}

void live_as_receive_thread() {
  keep_registered();
  forget_thread();
}

}  // namespace

std::int32_t aaalib_init_main_thread() {
  assert(is_held(aaa_lib_lock));
  return start_library_thread(ThreadRole::receive, g_receive_msg_tid, aaa_lib_thread,
                              {.starter = __func__, .thread = "main"});
}

bool aaalib_cancel_receive_thread() {
  assert(is_held(aaa_lib_lock));
  return stop_library_thread(g_receive_msg_tid);
}

void aaa_svr_rereg(std::uint32_t* stamp) {
  if (reg_state() == AAA_REG_REGISTERED) {
    AAA_DEBUG_LOG("aaa client is registered, not need register again.\r\n");
    return;
  }
  AAA_DEBUG_LOG("aaa client start to try re-reg.\r\n");
  if (!retry_until_registered(stamp)) return;
  tell_client(thread_rules.event_after_success, stamp);
  AAA_DEBUG_LOG("register aaa success.\r\n");
}

void* aaa_lib_thread(void*) {
  run_library_thread(ThreadRole::receive, live_as_receive_thread);
  return nullptr;
}

}  // namespace aaa
