#include "api/send_path.h"

#include <cassert>
#include <cerrno>
#include <cstring>

#include "runtime/send/send_buffer.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "transport/debug_log.h"
#include "transport/link_sockets.h"
#include "transport/message.h"

namespace aaa {
namespace {

// Results of aaalib_send_ipc_msg() other than 0.
constexpr std::int32_t bad_argument = 2;
constexpr std::int32_t not_sent = 4;

// Returns false when messages are not batched. Checks again under the buffer's lock, so that
// nothing is added to a buffer that a deregistration has just emptied.
bool queue(const aaa_ipc_header* message, std::uint32_t length) {
  if (!send_buffer_is_used()) return false;
  const InnerLock lock(aaa_lib_send_buf_lock);
  if (!send_buffer_is_used()) return false;
  add_to_send_buffer(message, length);
  return true;
}

std::int32_t queue_or_send(const aaa_ipc_header* message, std::uint32_t length) {
  if (queue(message, length)) return 0;
  return send_on_link(LinkSocket::request, link_number(), message, length);
}

// aaa_lib_send_ipc_msg(). REQUIRES: cancellation is disabled.
std::uint32_t frame_and_send(std::int32_t log_fd, std::uint32_t type, std::uint32_t id,
                             const void* body, std::uint32_t body_length) {
  constexpr char log_name[] = "aaa_lib_send_ipc_msg";
  std::uint32_t length = 0;
  aaa_ipc_header* const message = aaa_init_msg(type, id, body, body_length, &length);
  if (message == nullptr) return ENOMEM;
  AAA_DEBUG_LOG_AS(log_name, "%s: send message(%s)(%d) len(%d) to %d\r\n", g_aaalib_process_name,
                   aaa_ipc_get_msg_type_str(type), static_cast<int>(type),
                   static_cast<int>(body_length), log_fd);
  const std::int32_t error = queue_or_send(message, length);
  if (error != 0) AAA_DEBUG_LOG_AS(log_name, "send fail error %s.\r\n", std::strerror(error));
  free_message(message);
  return static_cast<std::uint32_t>(error);
}

}  // namespace

std::int32_t send_one_way(std::uint32_t type, std::uint32_t id, const void* body,
                          std::int32_t body_length) {
  const ScopedLock lock(aaa_lib_lock);
  return aaalib_send_ipc_msg(type, id, body, body_length);
}

std::uint32_t send_body(std::uint32_t type, std::uint32_t id, const RequestBody& body) {
  assert(body);
  return aaa_lib_send_ipc_msg(load(g_aaa_client_cb.sync_fd), type, id, body.data(), body.size());
}

std::int32_t send_record(const char* function, std::uint32_t type, std::uint32_t id,
                         const RequestBody& record, std::int32_t no_memory) {
  if (!record) {
    AAA_DEBUG_LOG_AS(function, "out of memory.\r\n");
    return no_memory;
  }
  const ScopedLock lock(aaa_lib_lock);
  const std::uint32_t error =
      frame_and_send(load(g_aaa_client_cb.sync_fd), type, id, record.data(), record.size());
  // The thread's errno, which need not be the error that is returned.
  if (error != 0) AAA_DEBUG_LOG_AS(function, "send packet error with errno %d.\r\n", errno);
  return -static_cast<std::int32_t>(error);
}

}  // namespace aaa

std::uint32_t aaa_lib_send_ipc_msg(std::int32_t log_fd, std::uint32_t type, std::uint32_t id,
                                   const void* body, std::uint32_t body_length) {
  using namespace aaa;
  const CancellationScope no_cancellation(PTHREAD_CANCEL_DISABLE);
  return frame_and_send(log_fd, type, id, body, body_length);
}

std::int32_t aaalib_send_ipc_msg(std::uint32_t type, std::uint32_t id, const void* body,
                                 std::int32_t body_length) {
  if (body_length < 0 || (body_length != 0 && body == nullptr)) return aaa::bad_argument;
  const std::uint32_t error = aaa_lib_send_ipc_msg(aaa::load(g_aaa_client_cb.sync_fd), type, id,
                                                   body, static_cast<std::uint32_t>(body_length));
  if (error == 0) return 0;
  AAA_DEBUG_LOG("Send ipc message failed, errno(%d).\r\n", static_cast<int>(error));
  return aaa::not_sent;
}
