// The four tasks of agent mode: the work of the receive thread, on the client's own event loop.
#include <cerrno>
#include <cstring>

#include "aaa_client.h"
#include "runtime/agent/agent_tasks.h"
#include "runtime/receive/inbound.h"
#include "runtime/receive/recovery.h"
#include "runtime/send/library_threads.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "transport/base/clock.h"
#include "transport/debug_log.h"

namespace aaa {
namespace {

constexpr char read_log_name[] = "aaa_lib_agent_read";
constexpr std::int32_t no_memory_error = -1;

void tell_client(const LinkOwner& owner, aaa_client_event event) {
  raise_event(event, [&] { return owner.goes_on(); });
}

void start_watching(const LinkOwner& owner) {
  tell_client(owner, loop_rules.event_after_success);
  schedule(owner, agent_read);
  schedule(owner, agent_heartbeat);
}

bool becomes_unregistered(const LinkOwner& owner) {
  const ScopedLock lock(aaa_lib_lock);
  if (owner.goes_on()) set_reg_state(AAA_REG_NOT_REGISTERED);
  return owner.goes_on();
}

void start_reconnecting(const LinkOwner& owner, const char* log_name) {
  AAA_DEBUG_LOG_AS(log_name, "aaa client start to try re-reg.\r\n");
  if (becomes_unregistered(owner)) schedule(owner, agent_reconnect);
}

// After an error that does not break the connection, the socket stays unwatched until the heartbeat
// fails.
void recover(const LinkOwner& owner, const Watched& watched, std::int32_t error,
             const char* log_name) {
  if (give_up_lost_link(owner, watched, error) != Damage::link_lost) return;
  cancel_tasks();
  start_reconnecting(owner, log_name);
}

// Tries again later: a callback of an earlier registration still runs on another thread.
int come_back(const LinkOwner& owner, AgentEvent event) {
  schedule(owner, event);
  return 0;
}

// Reads a message with the socket protected from being closed. False when it was closed before.
bool read_exclusively(const Watched& watched, LinkMessage& message, ReadOutcome& outcome) {
  const ScopedLock no_close(event_read_lock);
  if (!link_lasts(watched.link)) return false;
  outcome = message.read(load(g_aaa_client_cb.async_fd), loop_rules.reader);
  return true;
}

// Returns the error to recover from, 0 when the message was handled.
std::int32_t handle(const ReadOutcome& outcome, const LinkMessage& message) {
  switch (outcome.step) {
    case ReadStep::header:
      AAA_DEBUG_LOG_AS(read_log_name, "receive error with error %s.\r\n",
                       std::strerror(outcome.error));
      return outcome.error;
    case ReadStep::memory:
      AAA_DEBUG_LOG_AS(read_log_name, "out of memory.\r\n");
      return no_memory_error;
    case ReadStep::body:
      return outcome.error;
    case ReadStep::marker:
    case ReadStep::done:
      break;
  }
  dispatch(message.inbound());
  return 0;
}

void beat(const LinkOwner& owner) {
  if (!heartbeat_is_kept()) {
    rearm_heartbeat();
    schedule(owner, agent_heartbeat);
    return;
  }
  const Watched watched = watched_socket();
  const std::uint32_t now = monotonic_seconds();
  if (!owner.goes_on()) return;
  if (aaad_is_silent(now)) {
    rearm_heartbeat();
    recover(owner, watched, ETIMEDOUT, "aaa_lib_agent_heartbeat");
    return;
  }
  send_heartbeat(watched.link, now);
  schedule(owner, agent_heartbeat);
}

}  // namespace

int aaa_lib_agent_connect(zv_thread*) {
  const LinkOwner owner = LinkOwner::agent_task();
  g_agent_connect_ev = nullptr;
  const TaskTurn turn;
  if (!turn) return come_back(owner, agent_connect);
  switch (try_first_time(owner)) {
    case Attempt::registered:
      start_watching(owner);
      return 0;
    case Attempt::failed:
      start_reconnecting(owner, __func__);
      return -1;
    case Attempt::registration_ended:
      break;
  }
  return 0;
}

int aaa_lib_agent_reconnect(zv_thread*) {
  const LinkOwner owner = LinkOwner::agent_task();
  g_agent_reconnect_tmr = nullptr;
  const TaskTurn turn;
  if (!turn) return come_back(owner, agent_reconnect);
  if (reg_state() != AAA_REG_LOST) tell_client(owner, AAA_EVENT_CONNECTION_LOST);
  switch (try_again(owner)) {
    case Attempt::registered:
      start_watching(owner);
      return 0;
    case Attempt::failed:
      schedule(owner, agent_reconnect);
      return -1;
    case Attempt::registration_ended:
      break;
  }
  return 0;
}

int aaa_lib_agent_read(zv_thread*) {
  const LinkOwner owner = LinkOwner::agent_task();
  g_agent_read_ev = nullptr;
  const Watched watched = watched_socket();
  if (!owner.goes_on()) return 0;
  const TaskTurn turn;
  if (!turn) return come_back(owner, agent_read);
  LinkMessage message;
  ReadOutcome outcome = {};
  if (!read_exclusively(watched, message, outcome)) return 0;
  const std::int32_t error = handle(outcome, message);
  message.release();
  if (error == 0) {
    schedule(owner, agent_read);
  } else {
    recover(owner, watched, error, read_log_name);
  }
  return 0;
}

int aaa_lib_agent_heartbeat(zv_thread*) {
  const LinkOwner owner = LinkOwner::agent_task();
  g_agent_hbt_tmr = nullptr;
  if (owner.goes_on()) beat(owner);
  return 0;
}

}  // namespace aaa
