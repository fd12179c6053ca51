#include "runtime/send/waiting_session.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "aaa_client.h"
#include "session/state/locks.h"
#include "transport/base/atomic_word.h"
#include "transport/base/memory.h"
#include "transport/debug_log.h"
#include "transport/message_endpoints.h"

namespace aaa {

std::uint32_t g_temp_sid = 0;

namespace {

constexpr std::uint32_t link_lost_code = 2;

std::uint32_t waiting_session() {
  const ScopedLock lock(waiting_session_lock);
  return load(g_temp_sid);
}

}  // namespace

void set_waiting_session(std::uint32_t session_id) {
  const ScopedLock lock(waiting_session_lock);
  store(g_temp_sid, session_id);
}

void aaa_notify_timeout(LinkNumber link) {
  const std::uint32_t session_id = waiting_session();
  // The session was read before this check, so it is not one of a later registration.
  if (session_id == 0 || !link_lasts(link)) return;
  result_info result = {};
  result.sub.session_id = session_id;
  result.sub.num_a = link_lost_code;
  void* body = nullptr;
  const std::uint32_t length = aaa_encap_result_info(&result, &body);
  if (length == 0) return;
  aaa_lib_send_msg(body, length);
  AAA_FREE(body);
}

}  // namespace aaa

void aaa_lib_send_msg(const void* body, std::uint32_t length) {
  const std::int32_t fd = aaa::load(lib_msg_client_fd);
  if (fd < 1) {
    AAA_DEBUG_LOG("lib_msg_client_fd is not ready.\r\n");
    return;
  }
  const std::int32_t error =
      aaa::message_client_is_closed()
          ? EBADF
          : aaa_msg_send(fd, body, static_cast<std::int32_t>(length), MSG_WAITALL);
  if (error != 0) AAA_DEBUG_LOG("send failed %s\r\n", std::strerror(error));
}
