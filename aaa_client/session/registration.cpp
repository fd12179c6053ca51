// aaa_svr_reg: registration in thread mode.
#include <unistd.h>

#include <cassert>
#include <cstring>

#include "aaa_client.h"
#include "runtime/receive/receive_thread.h"
#include "runtime/receive/recovery.h"
#include "runtime/send/send_buffer.h"
#include "session/link/connect.h"
#include "session/registration.h"
#include "session/state/client_state.h"
#include "session/state/link.h"
#include "session/state/locks.h"
#include "transport/base/paths.h"
#include "transport/debug_log.h"

namespace aaa {

bool has_registration_state() {
  assert(is_held(aaa_lib_lock));
  const bool both_open = load(g_aaa_client_cb.sync_fd) > 0 && load(g_aaa_client_cb.async_fd) > 0;
  return both_open || reg_state() != AAA_REG_NOT_REGISTERED;
}

bool is_registered_or_trying() {
  assert(is_held(aaa_lib_lock));
  return has_registration_state() || receive_thread_exists() || agent_mode_is_on();
}

void dismiss_leaving_thread() {
  assert(is_held(aaa_lib_lock));
  if (is_deregistered() && reg_state() == AAA_REG_NOT_REGISTERED) aaalib_cancel_receive_thread();
}

unsigned threads_of_registration() {
  if (is_deregistered()) return 0;
  return (receive_thread_exists() ? 1U : 0U) + (send_buffer_is_used() ? 1U : 0U);
}

namespace {

// The limit of 75 bytes follows from the 100-byte buffers for the datagram sockets' names. Only
// aaa_svr_reg() sets the mode of security/aaa, for which it must be the owner.
void log_directory(const char* log_name) {
  const Directory in_use;
  const char* const directory = in_use.path();
  if (directory == nullptr) {
    AAA_DEBUG_LOG_AS(log_name, "TMPDIR is not set\r\n");
    return;
  }
  if (!in_use.is_from_environment()) {
    AAA_DEBUG_LOG_AS(
        log_name,
        "the directory set is '%s'; it must be writable, and security/aaa in it must belong to "
        "the user that calls aaa_svr_reg()\r\n",
        directory);
    return;
  }
  AAA_DEBUG_LOG_AS(log_name,
                   "TMPDIR is '%.80s', %zu bytes; it must begin with '/' or './', be writable "
                   "and have at most 75 bytes, and security/aaa in it must belong to the user that "
                   "calls aaa_svr_reg()\r\n",
                   directory, std::strlen(directory));
}

}  // namespace

bool prepare_endpoints(const char* log_name, std::int32_t (*make_work_dir)()) {
  assert(is_held(aaa_lib_lock));
  if (make_work_dir() != 0) {
    AAA_DEBUG_LOG_AS(log_name, "agent_init make directory failed\r\n");
    log_directory(log_name);
    return false;
  }
  if (aaa_lib_msg_socket_init() != 0) {
    AAA_DEBUG_LOG_AS(log_name, "aaa_lib_msg_socket_init failed\r\n");
    log_directory(log_name);
    return false;
  }
  return true;
}

void undo_registration() {
  assert(is_held(aaa_lib_lock));
  aaa_lib_client_close();
  set_aaa_id(0);
  clear_callbacks();
  set_reg_state(AAA_REG_NOT_REGISTERED);
}

namespace {

constexpr char log_name[] = "aaa_svr_reg";
// Between the start of the threads and event 1.
constexpr useconds_t start_pause_us = 100000;

// An unreachable aaad is no failure: the receive thread keeps trying.
void connect_first_time() REQUIRES(aaa_lib_lock) {
  set_aaa_id(0);
  if (aaalib_connect_and_register_to_aaad() == 0) return;
  set_reg_state(AAA_REG_NOT_REGISTERED);
  aaa_lib_client_close();
}

bool start_threads(const reg_info& info) REQUIRES(aaa_lib_lock) {
  if (info.use_send_buf != 0 && aaalib_init_send_buf_thread() != 0) {
    undo_registration();
    AAA_DEBUG_LOG_AS(log_name, "init send buf thread failed\r\n");
    return false;
  }
  rearm_heartbeat();
  store(g_aaalib_bind_core_id, info.bind_core_id);
  if (aaalib_init_main_thread() == 0) return true;
  aaalib_stop_send_buf_thread();
  undo_registration();
  AAA_DEBUG_LOG_AS(log_name, "init main thread failed\r\n");
  return false;
}

enum class Outcome { registered, already_registered, failed };

Outcome register_locked(const reg_info& info) {
  const ScopedLock lock(aaa_lib_lock);
  set_model_name(info.model_name);
  dismiss_leaving_thread();
  if (is_registered_or_trying()) {
    AAA_DEBUG_LOG_AS(log_name, "already registered!\r\n");
    store_callbacks(info);
    return Outcome::already_registered;
  }
  if (!prepare_endpoints(log_name, aaa_lib_make_work_dir)) return Outcome::failed;
  connect_first_time();
  store_callbacks(info);
  return start_threads(info) ? Outcome::registered : Outcome::failed;
}

// A receive thread that is about to end does not count as a registration.
bool is_in_use() {
  const bool is_trying = (receive_thread_exists() || agent_mode_is_on()) && !is_deregistered();
  const bool both_open = load(g_aaa_client_cb.sync_fd) > 0 && load(g_aaa_client_cb.async_fd) > 0;
  return is_trying || both_open || reg_state() != AAA_REG_NOT_REGISTERED;
}

}  // namespace
}  // namespace aaa

std::int32_t aaa_is_in_use() {
  if (aaa::is_in_use()) return 1;
  // Another thread may be registering.
  const aaa::ScopedLock lock(aaa_lib_lock);
  return aaa::is_in_use() ? 1 : 0;
}

std::int32_t aaa_svr_reg(const reg_info* info) {
  if (info == nullptr) {
    AAA_DEBUG_LOG("invalid args reg_info(%p)\r\n", static_cast<const void*>(info));
    return -1;
  }
  if (info->model_name[0] == '\0') return -1;
  aaa_lib_mutex_init();
  aaa_lib_send_buf_init();
  switch (aaa::register_locked(*info)) {
    case aaa::Outcome::failed:
      return -1;
    case aaa::Outcome::already_registered:
      return 0;
    case aaa::Outcome::registered:
      break;
  }
  usleep(aaa::start_pause_us);
  aaa_lib_notify_aaa_event(AAA_EVENT_REGISTERED);
  return 0;
}
