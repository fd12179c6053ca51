// The four tasks of agent mode: the work of the receive thread, on the client's own event loop.
#include <cstring>

#include "aaa_client.h"
#include "runtime/agent_run.h"
#include "runtime/agent_tasks.h"
#include "runtime/client_events.h"
#include "runtime/heartbeat.h"
#include "runtime/inbound_message.h"
#include "session/client_state.h"
#include "session/link.h"
#include "session/locks.h"
#include "transport/clock.h"
#include "transport/debug_log.h"
#include "transport/endpoints.h"
#include "transport/link_loss.h"

namespace aaa {
namespace {

constexpr char read_log_name[] = "aaa_lib_agent_read";
constexpr std::int32_t no_memory_error = -1;

enum class Attempt { registered, failed, ended };

// One attempt under the lock, so that it cannot cross a deregistration.
Attempt attempt(const AgentRun& run) {
  const ScopedLock lock(aaa_lib_lock);
  if (!run.goes_on()) return Attempt::ended;
  if (aaalib_connect_and_register_to_aaad() == 0) return Attempt::registered;
  aaa_lib_client_close();
  return Attempt::failed;
}

// After a failed attempt. Returns false when the client has deregistered.
bool remains_lost() {
  const ScopedLock lock(aaa_lib_lock);
  if (is_deregistered()) return false;
  set_reg_state(AAA_REG_LOST);
  return true;
}

void start_watching(const AgentRun& run) {
  aaa_lib_notify_aaa_event(AAA_EVENT_REGISTERED);
  schedule(run, agent_read);
  schedule(run, agent_heartbeat);
}

void start_reconnecting(const AgentRun& run, const char* log_name) {
  AAA_DEBUG_LOG_AS(log_name, "aaa client start to try re-reg.\r\n");
  set_reg_state(AAA_REG_NOT_REGISTERED);
  schedule(run, agent_reconnect);
}

// Whether the client is still registered; if not, the state says so.
bool confirm_registration(const AgentRun& run) {
  if (!run.goes_on()) return false;
  if (!is_deregistered()) return true;
  set_reg_state(AAA_REG_NOT_REGISTERED);
  return false;
}

// The state changes with the sockets: a deregistration comes before both or after both.
bool give_link_up(const AgentRun& run) {
  const ScopedLock lock(aaa_lib_lock);
  if (!confirm_registration(run)) return false;
  aaa_lib_client_close();
  set_reg_state(AAA_REG_NOT_REGISTERED);
  return true;
}

// Gives the connection up and builds another one.
void rebuild_link(const AgentRun& run, const char* log_name) {
  // First, so that an exchange which holds the lock on a dead socket lets go of it.
  if (run.goes_on()) announce_link_loss();
  if (!give_link_up(run)) {
    forget_link_loss();
    return;
  }
  cancel_tasks();
  start_reconnecting(run, log_name);
}

// An error that is not the connection's leaves the socket unwatched until the heartbeat fails.
void recover(const AgentRun& run, std::int32_t error) {
  if (aaa_lib_is_conn_broken_err(error)) {
    rebuild_link(run, read_log_name);
    return;
  }
  const ScopedLock lock(aaa_lib_lock);
  confirm_registration(run);
}

ReadOutcome read_exclusively(InboundMessage& message) {
  const ScopedLock no_close(link_read_lock);
  return read_message(load(g_aaa_client_cb.async_fd), Reader::event_loop, message);
}

// Returns the error to recover from, 0 when the message was handled.
std::int32_t handle(const ReadOutcome& outcome, const InboundMessage& message) {
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
  aaa_lib_async_msg_proc(&message.header, message.body);
  return 0;
}

void beat(const AgentRun& run) {
  if (!heartbeat_is_kept()) {
    rearm_heartbeat();
    schedule(run, agent_heartbeat);
    return;
  }
  const std::uint32_t now = monotonic_seconds();
  if (aaad_is_silent(now)) {
    rearm_heartbeat();
    rebuild_link(run, "aaa_lib_agent_heartbeat");
    return;
  }
  send_heartbeat(now);
  schedule(run, agent_heartbeat);
}

}  // namespace

int aaa_lib_agent_connect(zv_thread*) {
  const AgentRun run;
  g_agent_connect_ev = nullptr;
  switch (attempt(run)) {
    case Attempt::registered:
      start_watching(run);
      return 0;
    case Attempt::failed:
      start_reconnecting(run, __func__);
      return -1;
    case Attempt::ended:
      break;
  }
  return 0;
}

int aaa_lib_agent_reconnect(zv_thread*) {
  const AgentRun run;
  g_agent_reconnect_tmr = nullptr;
  if (reg_state() != AAA_REG_LOST) aaa_lib_notify_aaa_event(AAA_EVENT_CONNECTION_LOST);
  switch (attempt(run)) {
    case Attempt::registered:
      start_watching(run);
      return 0;
    case Attempt::failed:
      if (!remains_lost()) return 0;
      schedule(run, agent_reconnect);
      return -1;
    case Attempt::ended:
      break;
  }
  return 0;
}

int aaa_lib_agent_read(zv_thread*) {
  const AgentRun run;
  g_agent_read_ev = nullptr;
  InboundMessage message;
  const ReadOutcome outcome = read_exclusively(message);
  const std::int32_t error = handle(outcome, message);
  message.release();
  if (error == 0) {
    schedule(run, agent_read);
  } else {
    recover(run, error);
  }
  return 0;
}

int aaa_lib_agent_heartbeat(zv_thread*) {
  const AgentRun run;
  g_agent_hbt_tmr = nullptr;
  beat(run);
  return 0;
}

}  // namespace aaa
