// aaa_svr_dereg: the last call of a client.
#include <pthread.h>
#include <sys/socket.h>

#include <cstring>

#include "aaa_client.h"
#include "runtime/client_events.h"
#include "runtime/receive_thread.h"
#include "runtime/send_buffer.h"
#include "session/client_state.h"
#include "session/locks.h"
#include "session/registration.h"
#include "transport/debug_log.h"
#include "transport/endpoints.h"
#include "transport/framing.h"

namespace aaa {
namespace {

constexpr char farewell_name[] = "aaa_client_dereg";
constexpr char log_name[] = "aaa_svr_dereg";

std::int32_t report_farewell_error() {
  AAA_DEBUG_LOG_AS(farewell_name, "deregister error!\r\n");
  return -1;
}

bool send_farewell(std::int32_t fd) {
  const ModelName model;
  const std::int32_t error = aaalib_send_ipc_msg_print(
      fd, AAA_MSG_DEREGISTER_REQ, model.text, static_cast<std::uint32_t>(std::strlen(model.text)));
  if (error == 0) return true;
  AAA_DEBUG_LOG_AS(farewell_name, "send deregister message fail.\r\n");
  return false;
}

// The descriptor stays ours, although the conversation is over: its number stays in sync_fd, and
// must not come to name something else of the host process.
void end_conversation(std::int32_t fd) {
  shutdown(fd, SHUT_RDWR);
}

// Tells aaad that the client leaves. A silent aaad does not keep it registered.
std::int32_t aaa_client_dereg(std::int32_t fd) {
  if (!send_farewell(fd)) return report_farewell_error();
  aaa_ipc_header response;
  if (aaa_msg_recv(fd, &response, header_size) != 0) {
    AAA_DEBUG_LOG("receive deregister response fail, client %d break!\r\n", fd);
    aaa_lib_client_close();
    return 0;
  }
  AAA_DEBUG_LOG("%s: aaa lib receive message from aaad type (%s), len(%d).\r\n",
                g_aaalib_process_name, aaa_ipc_get_msg_type_str(response.type),
                static_cast<int>(response.length));
  if (response.type == AAA_MSG_DEREGISTER_RESP) return 0;
  AAA_DEBUG_LOG("receive message dismatch, type is %d\r\n", static_cast<int>(response.type));
  end_conversation(fd);
  return report_farewell_error();
}

std::int32_t tear_down() {
  if (aaalib_cancel_receive_thread()) {
    AAA_DEBUG_LOG_AS(log_name, "cancel receive msg thread.\r\n");
  }
  if (aaalib_stop_send_buf_thread()) {
    AAA_DEBUG_LOG_AS(log_name, "cancel send buffer thread.\r\n");
  }
  if (aaa_lib_client_close() != 0) {
    AAA_DEBUG_LOG_AS(log_name, "close socket error when deregister!\r\n");
    return -1;
  }
  set_reg_state(AAA_REG_NOT_REGISTERED);
  aaa_lib_notify_aaa_event(AAA_EVENT_CONNECTION_LOST);
  // The client may have registered anew in its callback.
  if (!is_registered_or_trying()) {
    store(g_aaa_client_cb.aaa_id, -1);
    clear_callbacks();
  }
  AAA_DEBUG_LOG_AS(log_name, "deregister to aaad success!\r\n");
  return 0;
}

// While aaad is away: the thread that tries to reach it finds the sign and ends.
void stop_trying() {
  if (!receive_thread_exists()) return;
  store(g_aaa_client_cb.aaa_id, -1);
  set_reg_state(AAA_REG_NOT_REGISTERED);
  aaalib_stop_send_buf_thread();
}

}  // namespace
}  // namespace aaa

std::int32_t aaa_svr_dereg() {
  const aaa::ScopedLock lock(aaa_lib_lock);
  if (aaa_is_alive() == 0) {
    AAA_DEBUG_LOG("aaa has been deregister\r\n");
    aaa::stop_trying();
    return 0;
  }
  const std::int32_t fd = aaa::load(g_aaa_client_cb.sync_fd);
  if (fd > 0 && aaa::aaa_client_dereg(fd) != 0) return -1;
  return aaa::tear_down();
}
