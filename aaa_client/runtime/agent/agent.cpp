// Agent mode: registering and deregistering on the client's own event loop.
#include "aaa_client.h"
#include "runtime/agent/agent_tasks.h"
#include "runtime/receive/recovery.h"
#include "runtime/send/library_threads.h"
#include "runtime/send/send_buffer.h"
#include "session/registration.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "transport/base/paths.h"
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

// Unlike thread mode, changes no mode of existing directories.
std::int32_t make_directory() {
  char path[256];
  return aaa_make_path(path, work_dir_suffix, sizeof path) == 0 ? -1 : aaa_make_dir(path);
}

void begin_registration() REQUIRES(aaa_lib_lock) {
  set_aaa_id(0);
  rearm_heartbeat();
  begin_agent_registration();
}

enum class Preparation { done, already_registered, already_trying, failed };

// A second call before the first connection repeats the steps.
Preparation prepare(const reg_info& info, zv_thread_master* master) {
  const ScopedLock lock(aaa_lib_lock);
  set_model_name(info.model_name);
  dismiss_leaving_thread();
  if (has_registration_state() || receive_thread_exists()) {
    AAA_DEBUG_LOG_AS(init_log_name, "already registered!\r\n");
    store_callbacks(info);
    return has_registration_state() ? Preparation::already_registered : Preparation::already_trying;
  }
  if (!prepare_endpoints(init_log_name, make_directory)) return Preparation::failed;
  store_callbacks(info);
  g_agent_master = master;
  if (info.use_send_buf != 0 && aaalib_init_send_buf_thread() != 0) {
    end_agent_registration();
    undo_registration();
    return Preparation::failed;
  }
  begin_registration();
  return Preparation::done;
}

// Ends a registration that survived aaa_svr_dereg(): the request could not be sent, aaad gave a
// wrong answer, or a socket could not be closed.
bool end_registration() {
  const ScopedLock lock(aaa_lib_lock);
  if (!agent_mode_is_on()) return false;
  aaalib_stop_send_buf_thread();
  aaa_lib_client_close();
  set_reg_state(AAA_REG_NOT_REGISTERED);
  set_aaa_id(-1);
  end_agent_registration();
  return true;
}

// The client may have registered again in its callback for the loss.
void forget_client() {
  const ScopedLock lock(aaa_lib_lock);
  if (!is_registered_or_trying()) clear_callbacks();
}

}  // namespace
}  // namespace aaa

std::int32_t aaa_agent_init(const reg_info* info, zv_thread_master* master) {
  if (!aaa::arguments_are_valid(info, master)) return -1;
  aaa_lib_mutex_init();
  aaa_lib_send_buf_init();
  switch (aaa::prepare(*info, master)) {
    case aaa::Preparation::failed:
      return -1;
    case aaa::Preparation::already_registered:
      aaa_lib_notify_aaa_event(AAA_EVENT_REGISTERED);
      return 0;
    case aaa::Preparation::already_trying:
      return 0;
    case aaa::Preparation::done:
      break;
  }
  aaa::cancel_tasks();
  aaa::schedule(aaa::LinkOwner::agent_task(), aaa::agent_connect, const_cast<reg_info*>(info));
  return 0;
}

std::int32_t aaa_agent_finish() {
  if (aaa_svr_dereg() != 0 && aaa::end_registration()) {
    aaa_lib_notify_aaa_event(AAA_EVENT_CONNECTION_LOST);
    aaa::wait_for_library_threads(aaa::threads_of_registration());
  }
  aaa::forget_client();
  if (!aaa::agent_mode_is_on()) aaa::cancel_tasks();
  return 0;
}
