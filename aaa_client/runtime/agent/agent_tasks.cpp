#include "runtime/agent/agent_tasks.h"

#include <unistd.h>

#include "aaa_client.h"
#include "runtime/receive/recovery.h"
#include "session/state/client_state.h"
#include "transport/debug_log.h"

// A client in thread mode does not load the event library at all.
#pragma weak zv_thread_add_event_withname
#pragma weak zv_thread_add_timer_withname
#pragma weak zv_thread_add_read_high_withname
#pragma weak zv_thread_cancel

namespace aaa {

zv_thread_master* g_agent_master = nullptr;
zv_thread* g_agent_connect_ev = nullptr;
zv_thread* g_agent_reconnect_tmr = nullptr;
zv_thread* g_agent_read_ev = nullptr;
zv_thread* g_agent_hbt_tmr = nullptr;
zv_thread* g_agent_spare_ev = nullptr;

namespace {

constexpr char log_name[] = "aaa_lib_thread_event";
constexpr long heartbeat_seconds = 60;

void cancel(zv_thread*& handle) {
  if (handle != nullptr) zv_thread_cancel(handle);
  handle = nullptr;
}

// Stores what the event library has returned for `task`. A task must not be scheduled twice: only
// one handle is stored for cancelling it.
std::int32_t keep(zv_thread*& handle, zv_thread* scheduled, const char* task) {
  if (scheduled == nullptr) {
    AAA_DEBUG_LOG_AS(log_name, "Failed to add thread for %s\r\n", task);
    return -1;
  }
  cancel(handle);
  handle = scheduled;
  return 0;
}

std::int32_t add_connect(void* argument) {
  return keep(g_agent_connect_ev,
              zv_thread_add_event_withname(g_agent_master, aaa_lib_agent_connect, argument, 0,
                                           "aaa-connect"),
              "aaa_lib_connect");
}

std::int32_t add_reconnect() {
  return keep(g_agent_reconnect_tmr,
              zv_thread_add_timer_withname(g_agent_master, aaa_lib_agent_reconnect, nullptr,
                                           loop_rules.pause_seconds, "aaa-reconnect"),
              "aaa_lib_reconnect");
}

std::int32_t add_read(std::int32_t fd) {
  return keep(
      g_agent_read_ev,
      zv_thread_add_read_high_withname(g_agent_master, aaa_lib_agent_read, nullptr, fd, "aaa-read"),
      "aaa_lib_read");
}

std::int32_t add_heartbeat() {
  return keep(g_agent_hbt_tmr,
              zv_thread_add_timer_withname(g_agent_master, aaa_lib_agent_heartbeat, nullptr,
                                           heartbeat_seconds, "aaa-heartbeat"),
              "aaa_lib_heartbeat");
}

}  // namespace

bool event_library_is_present() {
  return zv_thread_add_event_withname != nullptr && zv_thread_add_timer_withname != nullptr &&
         zv_thread_add_read_high_withname != nullptr && zv_thread_cancel != nullptr;
}

void cancel_tasks() {
  cancel(g_agent_connect_ev);
  cancel(g_agent_reconnect_tmr);
  cancel(g_agent_read_ev);
  cancel(g_agent_spare_ev);
  cancel(g_agent_hbt_tmr);
}

}  // namespace aaa

std::int32_t aaa_lib_thread_event(std::int32_t event, void* argument, std::int32_t fd) {
  if (aaa::g_agent_master == nullptr || !aaa::event_library_is_present()) return -1;
  switch (event) {
    case aaa::agent_connect:
      return aaa::add_connect(argument);
    case aaa::agent_reconnect:
      return aaa::add_reconnect();
    case aaa::agent_read:
      return aaa::add_read(fd);
    case aaa::agent_heartbeat:
      return aaa::add_heartbeat();
    default:
      AAA_DEBUG_LOG("unknown lib thread event(%d).\r\n", event);
      return 0;
  }
}

namespace aaa {
namespace {

constexpr unsigned refused_pause_seconds = 2;

// Without a socket there is nothing to read: the client has closed it or has deregistered.
bool is_wanted(const LinkOwner& owner, AgentEvent event) {
  return owner.goes_on() && (event != agent_read || load(g_aaa_client_cb.async_fd) >= 0);
}

}  // namespace

void schedule(const LinkOwner& owner, AgentEvent event, void* argument) {
  while (is_wanted(owner, event) &&
         aaa_lib_thread_event(event, argument, load(g_aaa_client_cb.async_fd)) != 0)
    sleep(refused_pause_seconds);
}

}  // namespace aaa
