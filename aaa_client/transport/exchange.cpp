#include "transport/exchange.h"

#include <sched.h>
#include <sys/socket.h>

#include <cstring>

#include "session/locks.h"
#include "transport/cancellation.h"
#include "transport/clock.h"
#include "transport/debug_log.h"
#include "transport/framing.h"
#include "transport/link_loss.h"
#include "transport/readiness.h"

namespace aaa {
namespace {

constexpr std::uint32_t drain_seconds = 9;

// Whether the link has gone. Its loss may not have been declared yet: the thread that reads the
// event socket can be in a callback, or wait for the lock that the exchange holds.
bool link_has_gone() {
  return link_is_lost() || peer_has_closed(load(g_aaa_client_cb.async_fd));
}

// Throws away what an earlier exchange left unread. A socket whose peer has closed stays readable:
// the drain then ends when the link has gone, or at its deadline.
void aaalib_socket_buf_clear(std::int32_t fd) {
  if (fd < 0) {
    AAA_DEBUG_LOG("input sd err,sd: %d\r\n", fd);
    return;
  }
  const std::uint32_t start = monotonic_seconds();
  int cleared = 0;
  while (wait_readable(fd, 0) != 0) {
    char byte = 0;
    if (recv(fd, &byte, 1, 0) == 1) {
      ++cleared;
    } else {
      if (link_has_gone()) break;
      sched_yield();
    }
    if (link_is_lost() || monotonic_seconds() - start > drain_seconds) break;
  }
  AAA_DEBUG_LOG("clear %d bytes data from sd buffer\r\n", cleared);
}

aaa_ipc_header* drain_send_receive(std::uint32_t type, const void* body, std::uint32_t length) {
  const ScopedLock lock(aaa_lib_lock);
  const std::int32_t fd = load(g_aaa_client_cb.sync_fd);
  aaalib_socket_buf_clear(fd);
  const std::int32_t error = aaalib_send_ipc_msg_print(fd, type, body, length);
  if (error != 0) {
    AAA_DEBUG_LOG_AS("aaalib_sr_ipc_msg", "Send ipc message failed, errno(%d).\r\n", error);
    return nullptr;
  }
  return aaalib_recv_ipc_msg_from_sd(fd);
}

}  // namespace

aaa_ipc_header* aaalib_sr_ipc_msg(std::uint32_t type, const void* body, std::int32_t body_length) {
  if (body_length < 0 || (body == nullptr && body_length != 0)) return nullptr;
  const CancellationScope no_cancellation(PTHREAD_CANCEL_DISABLE);
  aaa_ipc_header* const reply =
      drain_send_receive(type, body, static_cast<std::uint32_t>(body_length));
  if (reply != nullptr) {
    AAA_DEBUG_LOG("%s: aaa lib receive message from aaad type (%s), len(%d).\r\n",
                  g_aaalib_process_name, aaa_ipc_get_msg_type_str(reply->type),
                  static_cast<int>(reply->length));
  }
  return reply;
}

aaa_ipc_header* aaalib_recv_ipc_msg() {
  return aaalib_recv_ipc_msg_from_sd(load(g_aaa_client_cb.sync_fd));
}

aaa_ipc_header* aaalib_recv_async_ipc_msg() {
  return aaalib_recv_ipc_msg_from_sd(load(g_aaa_client_cb.async_fd));
}

Reply::~Reply() {
  free_message(message_);
}

std::uint32_t Reply::word(std::uint32_t n) const {
  std::uint32_t value = 0;
  const std::uint64_t offset = std::uint64_t{n} * sizeof value;
  if (offset >= length()) return 0;
  const std::uint64_t available = length() - offset;
  const std::size_t size =
      available < sizeof value ? static_cast<std::size_t>(available) : sizeof value;
  std::memcpy(&value, static_cast<const char*>(body()) + offset, size);
  return value;
}

std::uint8_t Reply::first_byte() const {
  return length() == 0 ? std::uint8_t{0} : *static_cast<const std::uint8_t*>(body());
}

}  // namespace aaa
