#include "transport/exchange.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "session/state/link.h"
#include "transport/base/cancellation.h"
#include "transport/base/clock.h"
#include "transport/base/descriptors.h"
#include "transport/debug_log.h"
#include "transport/link_sockets.h"
#include "transport/message.h"
#include "transport/read_ahead.h"

namespace aaa {
namespace {

// Discards unread bytes of an earlier exchange. Returns 0 when nothing is left; EPIPE when the peer
// or the socket is gone, or when no byte arrives and the link is known to be lost; ETIMEDOUT at the
// deadline.
std::int32_t drain(std::int32_t fd, int& cleared) REQUIRES(aaa_lib_lock) {
  if (request_number_is_closed()) return EPIPE;
  if (request_read_ahead.size() != 0) {
    cleared = static_cast<int>(request_read_ahead.size());
    request_read_ahead.clear();
  }
  const std::uint32_t start = monotonic_seconds();
  while (wait_readable(fd, 0) != 0) {
    char byte = 0;
    const ssize_t count = recv(fd, &byte, 1, 0);
    if (count == 1) {
      ++cleared;
    } else if (count == 0 || !is_temporary(errno) || link_is_lost()) {
      return EPIPE;
    }
    if (!is_before_deadline(start)) return ETIMEDOUT;
  }
  return 0;
}

std::int32_t aaalib_socket_buf_clear(std::int32_t fd) REQUIRES(aaa_lib_lock) {
  if (fd < 0) {
    AAA_DEBUG_LOG("input sd err,sd: %d\r\n", fd);
    return 0;
  }
  int cleared = 0;
  const std::int32_t error = drain(fd, cleared);
  AAA_DEBUG_LOG("clear %d bytes data from sd buffer\r\n", cleared);
  return error;
}

std::int32_t receive_answer(std::int32_t fd, void* buffer, std::size_t length,
                            std::size_t& received) REQUIRES(aaa_lib_lock) {
  return request_read_ahead.receive(fd, buffer, length, received);
}

std::int32_t receive_request_message(std::int32_t fd, void* buffer, std::size_t length,
                                     std::size_t& received) REQUIRES(aaa_lib_lock) {
  return request_read_ahead.receive_no_further(fd, buffer, length, received);
}

// After an incomplete drain the next bytes belong to another request: nothing is sent or read.
// REQUIRES: cancellation is disabled.
aaa_ipc_header* drain_send_receive(std::uint32_t type, const void* body, std::uint32_t length) {
  const InnerLock lock(aaa_lib_lock);
  const std::int32_t fd = load(g_aaa_client_cb.sync_fd);
  std::int32_t error = aaalib_socket_buf_clear(fd);
  if (error == 0) error = log_and_send_message(fd, type, body, length);
  if (error != 0) {
    AAA_DEBUG_LOG_AS("aaalib_sr_ipc_msg", "Send ipc message failed, errno(%d).\r\n", error);
    return nullptr;
  }
  return aaalib_recv_ipc_msg_from_sd(fd, receive_answer);
}

std::int32_t receive_ahead(std::int32_t fd, void* buffer, std::size_t length, std::size_t& received)
    REQUIRES(event_read_lock) {
  return event_read_ahead.receive_no_further(fd, buffer, length, received);
}

std::int32_t receive_from_closed(std::int32_t, void*, std::size_t, std::size_t&) {
  return EBADF;
}

}  // namespace

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

aaa_ipc_header* aaalib_sr_ipc_msg(std::uint32_t type, const void* body, std::int32_t body_length) {
  if (body_length < 0 || (body == nullptr && body_length != 0)) return nullptr;
  const aaa::CancellationScope no_cancellation(PTHREAD_CANCEL_DISABLE);
  aaa_ipc_header* const reply =
      aaa::drain_send_receive(type, body, static_cast<std::uint32_t>(body_length));
  if (reply != nullptr) {
    AAA_DEBUG_LOG("%s: aaa lib receive message from aaad type (%s), len(%d).\r\n",
                  g_aaalib_process_name, aaa_ipc_get_msg_type_str(reply->type),
                  static_cast<int>(reply->length));
  }
  return reply;
}

aaa_ipc_header* aaalib_recv_ipc_msg() {
  const aaa::ScopedLock lock(aaa_lib_lock);
  return aaa::aaalib_recv_ipc_msg_from_sd(
      aaa::load(g_aaa_client_cb.sync_fd),
      aaa::request_number_is_closed() ? aaa::receive_from_closed : aaa::receive_request_message);
}

aaa_ipc_header* aaalib_recv_async_ipc_msg() {
  const aaa::ScopedLock lock(aaa::event_read_lock);
  return aaa::aaalib_recv_ipc_msg_from_sd(aaa::load(g_aaa_client_cb.async_fd), aaa::receive_ahead);
}
