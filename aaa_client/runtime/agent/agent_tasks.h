// The tasks of agent mode on the client's event loop: their handles, and how they are scheduled.
#pragma once

#include <cstdint>

#include "session/state/link.h"
#include "zv_thread.h"

namespace aaa {

enum AgentEvent : std::int32_t {
  agent_connect = 0,
  agent_reconnect = 1,
  agent_read = 2,
  agent_heartbeat = 3
};

// Set when a task is scheduled, cleared when it runs or is cancelled. Used on the loop's thread, or
// while the loop does not run.
extern zv_thread_master* g_agent_master;
extern zv_thread* g_agent_connect_ev;
extern zv_thread* g_agent_reconnect_tmr;
extern zv_thread* g_agent_read_ev;
extern zv_thread* g_agent_hbt_tmr;
extern zv_thread* g_agent_spare_ev;

// The tasks themselves, in runtime/agent/agent_link.cpp. The loop ignores what they return.
int aaa_lib_agent_connect(zv_thread* task);
int aaa_lib_agent_reconnect(zv_thread* task);
int aaa_lib_agent_read(zv_thread* task);
int aaa_lib_agent_heartbeat(zv_thread* task);

// Whether the platform's event-thread library is there.
bool event_library_is_present();

// Cancels whatever is scheduled.
void cancel_tasks();

// Schedules a task, retrying every 2 seconds until the event library accepts it or the task is no
// longer wanted.
void schedule(const LinkOwner& owner, AgentEvent event, void* argument = nullptr);

}  // namespace aaa
