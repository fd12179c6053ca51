// The four tasks of agent mode: the work of the receive thread, on the client's own event loop.
#include <cstring>

#include "aaa_client.h"
#include "runtime/agent_run.h"
#include "runtime/agent_tasks.h"
#include "runtime/client_events.h"
#include "runtime/heartbeat.h"
#include "runtime/inbound.h"
#include "runtime/inbound_message.h"
#include "runtime/library_threads.h"
#include "session/client_state.h"
#include "session/link.h"
#include "session/locks.h"
#include "transport/clock.h"
#include "transport/debug_log.h"

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
bool remains_lost(const AgentRun& run) {
  const ScopedLock lock(aaa_lib_lock);
  if (!run.goes_on() || is_deregistered()) return false;
  set_reg_state(AAA_REG_LOST);
  return true;
}

void tell_client(const AgentRun& run, aaa_client_event event) {
  raise_event(event, [&] { return run.goes_on(); });
}

void start_watching(const AgentRun& run) {
  tell_client(run, AAA_EVENT_REGISTERED);
  schedule(run, agent_read);
  schedule(run, agent_heartbeat);
}

bool becomes_unregistered(const AgentRun& run) {
  const ScopedLock lock(aaa_lib_lock);
  if (run.goes_on()) set_reg_state(AAA_REG_NOT_REGISTERED);
  return run.goes_on();
}

void start_reconnecting(const AgentRun& run, const char* log_name) {
  AAA_DEBUG_LOG_AS(log_name, "aaa client start to try re-reg.\r\n");
  if (becomes_unregistered(run)) schedule(run, agent_reconnect);
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
void rebuild_link(const AgentRun& run, LinkNumber link, const char* log_name) {
  announce_link_loss(link);
  if (!give_link_up(run)) return;
  cancel_tasks();
  start_reconnecting(run, log_name);
}

// An error that is not the connection's leaves the socket unwatched until the heartbeat fails.
void recover(const AgentRun& run, LinkNumber link, std::int32_t error) {
  if (aaa_lib_is_conn_broken_err(error) != 0) {
    rebuild_link(run, link, read_log_name);
    return;
  }
  const ScopedLock lock(aaa_lib_lock);
  confirm_registration(run);
}

// A callback of an earlier registration still runs on another thread: the task is scheduled again.
int come_back(const AgentRun& run, AgentEvent event) {
  schedule(run, event);
  return 0;
}

// Reads a message while nobody can close the socket. Returns false when somebody already has.
bool read_exclusively(LinkNumber link, InboundMessage& message, ReadOutcome& outcome) {
  const ScopedLock no_close(event_read_lock);
  if (!link_lasts(link)) return false;
  outcome = read_message(load(g_aaa_client_cb.async_fd), Reader::event_loop, message);
  return true;
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
  dispatch({&message.header, message.body, message.link});
  return 0;
}

void beat(const AgentRun& run) {
  if (!heartbeat_is_kept()) {
    rearm_heartbeat();
    schedule(run, agent_heartbeat);
    return;
  }
  const LinkNumber link = link_number();
  const std::uint32_t now = monotonic_seconds();
  if (!run.goes_on()) return;
  if (aaad_is_silent(now)) {
    rearm_heartbeat();
    rebuild_link(run, link, "aaa_lib_agent_heartbeat");
    return;
  }
  send_heartbeat(link, now);
  schedule(run, agent_heartbeat);
}

}  // namespace

int aaa_lib_agent_connect(zv_thread*) {
  const AgentRun run;
  g_agent_connect_ev = nullptr;
  const TaskTurn turn;
  if (!turn) return come_back(run, agent_connect);
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
  const TaskTurn turn;
  if (!turn) return come_back(run, agent_reconnect);
  if (reg_state() != AAA_REG_LOST) tell_client(run, AAA_EVENT_CONNECTION_LOST);
  switch (attempt(run)) {
    case Attempt::registered:
      start_watching(run);
      return 0;
    case Attempt::failed:
      if (!remains_lost(run)) return 0;
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
  const LinkNumber link = link_number();
  if (!run.goes_on()) return 0;
  const TaskTurn turn;
  if (!turn) return come_back(run, agent_read);
  InboundMessage message;
  ReadOutcome outcome = {};
  if (!read_exclusively(link, message, outcome)) return 0;
  const std::int32_t error = handle(outcome, message);
  message.release();
  if (error == 0) {
    schedule(run, agent_read);
  } else {
    recover(run, link, error);
  }
  return 0;
}

int aaa_lib_agent_heartbeat(zv_thread*) {
  const AgentRun run;
  g_agent_hbt_tmr = nullptr;
  if (run.goes_on()) beat(run);
  return 0;
}

}  // namespace aaa
