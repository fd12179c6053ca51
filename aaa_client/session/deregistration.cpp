// aaa_svr_dereg: deregistration.
#include <cstring>

#include "aaa_client.h"
#include "runtime/receive/receive_thread.h"
#include "runtime/send/library_threads.h"
#include "runtime/send/send_buffer.h"
#include "session/registration.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "transport/base/atomic_word.h"
#include "transport/debug_log.h"
#include "transport/link_sockets.h"
#include "transport/message.h"
#include "transport/read_ahead.h"

namespace aaa {
namespace {

constexpr char exchange_name[] = "aaa_client_dereg";
constexpr char log_name[] = "aaa_svr_dereg";

std::int32_t report_error() {
  AAA_DEBUG_LOG_AS(exchange_name, "deregister error!\r\n");
  return -1;
}

bool send_deregister_request(std::int32_t fd) {
  const ModelName model;
  const std::int32_t error = aaalib_send_ipc_msg_print(
      fd, AAA_MSG_DEREGISTER_REQ, model.text, static_cast<std::uint32_t>(std::strlen(model.text)));
  if (error == 0) return true;
  AAA_DEBUG_LOG_AS(exchange_name, "send deregister message fail.\r\n");
  return false;
}

// Sends the deregister request. A missing response counts as success.
std::int32_t aaa_client_dereg(std::int32_t fd) REQUIRES(aaa_lib_lock) {
  if (!send_deregister_request(fd)) return report_error();
  aaa_ipc_header response;
  std::size_t received = 0;
  if (request_read_ahead.receive_no_further(fd, &response, header_size, received) != 0) {
    AAA_DEBUG_LOG("receive deregister response fail, client %d break!\r\n", fd);
    aaa_lib_client_close();
    return 0;
  }
  AAA_DEBUG_LOG("%s: aaa lib receive message from aaad type (%s), len(%d).\r\n",
                g_aaalib_process_name, aaa_ipc_get_msg_type_str(response.type),
                static_cast<int>(response.length));
  if (response.type == AAA_MSG_DEREGISTER_RESP) return 0;
  AAA_DEBUG_LOG("receive message dismatch, type is %d\r\n", static_cast<int>(response.type));
  close_request_socket();
  return report_error();
}

std::int32_t tear_down() REQUIRES(aaa_lib_lock) {
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
  end_agent_registration();
  aaa_lib_notify_aaa_event(AAA_EVENT_CONNECTION_LOST);
  // The client may have registered again in its callback.
  if (!is_registered_or_trying()) {
    set_aaa_id(-1);
    clear_callbacks();
  }
  AAA_DEBUG_LOG_AS(log_name, "deregister to aaad success!\r\n");
  return 0;
}

// While aaad is unreachable there is no connection to close. Before its next attempt the receive
// thread sees aaa_id -1 and ends. The tasks of agent mode see that their registration has ended.
void stop_trying() REQUIRES(aaa_lib_lock) {
  if (receive_thread_exists() || agent_mode_is_on()) {
    set_aaa_id(-1);
    set_reg_state(AAA_REG_NOT_REGISTERED);
    end_agent_registration();
  }
  if (send_buffer_is_used()) aaalib_stop_send_buf_thread();
}

std::int32_t deregister() {
  const ScopedLock lock(aaa_lib_lock);
  if (aaa_is_alive() == 0) {
    AAA_DEBUG_LOG_AS(log_name, "aaa has been deregister\r\n");
    stop_trying();
    return 0;
  }
  const std::int32_t fd = load(g_aaa_client_cb.sync_fd);
  if (fd > 0 && aaa_client_dereg(fd) != 0) return -1;
  return tear_down();
}

}  // namespace
}  // namespace aaa

std::int32_t aaa_svr_dereg() {
  using namespace aaa;
  const std::int32_t result = deregister();
  wait_for_library_threads(threads_of_registration());
  return result;
}

void aaalib_ipc_msg_proc_dereg_response() {
  const aaa::ScopedLock lock(aaa_lib_lock);
  if (aaa::load(g_aaa_client_cb.async_fd) >= 1) aaa::close_socket(aaa::LinkSocket::event);
  aaa::store(g_aaa_client_cb.async_fd, -1);
}
