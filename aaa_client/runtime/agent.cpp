// Agent mode: registering on the client's own event loop, and the end of it.
#include "aaa_client.h"
#include "runtime/agent_run.h"
#include "runtime/agent_tasks.h"
#include "runtime/client_events.h"
#include "runtime/heartbeat.h"
#include "runtime/send_buffer.h"
#include "session/client_state.h"
#include "session/locks.h"
#include "session/registration.h"
#include "transport/debug_log.h"

namespace aaa {
namespace {

constexpr char init_log_name[] = "aaa_agent_init";

bool arguments_are_valid(const reg_info* info, zv_thread_master* master) {
  if (info == nullptr || master == nullptr) {
    AAA_DEBUG_LOG_AS(init_log_name, "invalid args reg_info(%p) or master(%p)\r\n",
                     static_cast<const void*>(info), static_cast<const void*>(master));
    return false;
  }
  if (info->model_name[0] == '\0') {
    AAA_DEBUG_LOG_AS(init_log_name, "set model name(%s) failed\r\n", info->model_name);
    return false;
  }
  if (!event_library_is_present()) {
    AAA_DEBUG_LOG_AS(init_log_name, "the event-thread library is not linked\r\n");
    return false;
  }
  return true;
}

// What aaa_svr_dereg() alone has left behind.
void forget_ended_registration() {
  if (!agent_mode_is_on() || !is_deregistered()) return;
  end_agent_registration();
  cancel_tasks();
}

void begin_registration() {
  store(g_aaa_client_cb.aaa_id, 0);
  rearm_heartbeat();
  begin_agent_registration();
}

enum class Preparation { done, already_registered, failed };

Preparation prepare(const reg_info& info, zv_thread_master* master) {
  const ScopedLock lock(aaa_lib_lock);
  set_model_name(info.model_name);
  forget_ended_registration();
  if (is_registered_or_trying() || agent_mode_is_on()) {
    AAA_DEBUG_LOG_AS(init_log_name, "already registered!\r\n");
    store_callbacks(info);
    aaa_lib_notify_aaa_event(AAA_EVENT_REGISTERED);
    return Preparation::already_registered;
  }
  if (!prepare_endpoints(init_log_name)) return Preparation::failed;
  store_callbacks(info);
  g_agent_master = master;
  if (info.use_send_buf != 0 && aaalib_init_send_buf_thread() != 0) {
    undo_registration();
    return Preparation::failed;
  }
  begin_registration();
  return Preparation::done;
}

// What aaa_svr_dereg() leaves standing when aaad is not there to be told.
void end_registration() {
  if (agent_mode_is_on() && !is_deregistered()) {
    aaalib_stop_send_buf_thread();
    undo_registration();
    store(g_aaa_client_cb.aaa_id, -1);
  }
  end_agent_registration();
}

}  // namespace
}  // namespace aaa

std::int32_t aaa_agent_init(const reg_info* info, zv_thread_master* master) {
  if (!aaa::arguments_are_valid(info, master)) return -1;
  aaa::aaa_lib_mutex_init();
  aaa_lib_send_buf_init();
  switch (aaa::prepare(*info, master)) {
    case aaa::Preparation::failed:
      return -1;
    case aaa::Preparation::already_registered:
      return 0;
    case aaa::Preparation::done:
      break;
  }
  aaa::schedule(aaa::AgentRun(), aaa::agent_connect, const_cast<reg_info*>(info));
  return 0;
}

std::int32_t aaa_agent_finish() {
  aaa_svr_dereg();
  const aaa::ScopedLock lock(aaa_lib_lock);
  aaa::end_registration();
  aaa::cancel_tasks();
  return 0;
}
