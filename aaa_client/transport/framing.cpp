#include "transport/framing.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "transport/cancellation.h"
#include "transport/clock.h"
#include "transport/debug_log.h"
#include "transport/memory.h"
#include "transport/message_counters.h"

namespace aaa {
namespace {

constexpr int max_send_tries = 49;
constexpr useconds_t send_pause_us = 100000;

// At the deadline a loop reports why the last attempt did not finish; never success.
std::int32_t error_at_deadline() {
  return errno != 0 ? errno : EAGAIN;
}

enum class ReceiveStep { header, memory, body };

struct Received {
  aaa_ipc_header* message;
  ReceiveStep failed_step;
  std::int32_t error;
};

aaa_ipc_header* allocate_message(const aaa_ipc_header& header) {
  if (header.length > max_body_length) return nullptr;
  auto* const message = static_cast<aaa_ipc_header*>(AAA_MALLOC(header_size + header.length));
  if (message != nullptr) *message = header;
  return message;
}

Received receive_message(std::int32_t fd, ReceiveExactly receive) {
  aaa_ipc_header header;
  std::size_t received = 0;
  std::int32_t error = receive(fd, &header, header_size, received);
  if (error != 0) return {nullptr, ReceiveStep::header, error};
  aaa_ipc_header* const message = allocate_message(header);
  if (message == nullptr) return {nullptr, ReceiveStep::memory, ENOMEM};
  if (header.length == 0) return {message, ReceiveStep::body, 0};
  error = receive(fd, message_body(message), header.length, received);
  if (error == 0) return {message, ReceiveStep::body, 0};
  // The rest was never written: wiping it would only make a block of any claimed size resident.
  wipe_and_free(message, header_size + received);
  return {nullptr, ReceiveStep::body, error};
}

}  // namespace

void free_message(aaa_ipc_header* message) {
  if (message != nullptr) wipe_and_free(message, header_size + message->length);
}

std::int32_t receive_between(std::int32_t fd, void* buffer, std::size_t least, std::size_t most,
                             std::size_t& received) {
  if (fd < 0) return EINVAL;
  const std::uint32_t start = monotonic_seconds();
  do {
    const ssize_t count = recv(fd, static_cast<char*>(buffer) + received, most - received, 0);
    if (count > 0) {
      received += static_cast<std::size_t>(count);
      if (received >= least) return 0;
    } else if (count == 0) {
      count_recv_failure(fd, errno);
      return EPIPE;
    } else if (!is_temporary(errno)) {
      const int error = errno;
      count_recv_failure(fd, error);
      return error;
    }
  } while (is_before_deadline(start));
  return error_at_deadline();
}

std::int32_t receive_exactly(std::int32_t fd, void* buffer, std::size_t length,
                             std::size_t& received) {
  received = 0;
  return receive_between(fd, buffer, length, length, received);
}

aaa_ipc_header* aaalib_recv_ipc_msg_from_sd(std::int32_t fd, ReceiveExactly receive) {
  const Received received = receive_message(fd, receive);
  if (received.message != nullptr) return received.message;
  switch (received.failed_step) {
    case ReceiveStep::header:
      AAA_DEBUG_LOG("Receive ipc message header failed, errno(%d).\r\n", received.error);
      break;
    case ReceiveStep::memory:
      AAA_DEBUG_LOG("Alloc memory failed.\r\n");
      break;
    case ReceiveStep::body:
      AAA_DEBUG_LOG("Receive ipc message body failed, errno(%d).\r\n", received.error);
      break;
  }
  return nullptr;
}

}  // namespace aaa

aaa_ipc_header* aaa_init_msg(std::uint32_t type, std::uint32_t id, const void* body,
                             std::uint32_t body_length, std::uint32_t* total_length) {
  using namespace aaa;
  if (body == nullptr) body_length = 0;
  if (body_length > max_body_length) return nullptr;
  auto* const message = static_cast<aaa_ipc_header*>(AAA_MALLOC(header_size + body_length));
  if (message == nullptr) return nullptr;
  *message = {.marker = header_marker, .id = id, .type = type, .length = body_length};
  if (body_length > 0) std::memcpy(message_body(message), body, body_length);
  if (total_length != nullptr) *total_length = header_size + body_length;
  return message;
}

std::int32_t aaa_msg_send(std::int32_t fd, const void* buffer, std::int32_t length,
                          std::int32_t flags) {
  using namespace aaa;
  if (fd < 0 || length <= 0 || buffer == nullptr) return EINVAL;
  const std::uint32_t start = monotonic_seconds();
  const auto* next = static_cast<const char*>(buffer);
  auto remaining = static_cast<std::size_t>(length);
  int tries = 0;
  do {
    const ssize_t sent = send(fd, next, remaining, flags | MSG_NOSIGNAL);
    if (sent >= 0) {
      next += sent;
      remaining -= static_cast<std::size_t>(sent);
      if (remaining == 0) return 0;
      continue;
    }
    const int error = errno;
    ++tries;
    if (!is_temporary(error)) {
      count_send_error(fd, error);
      return error;
    }
    count_send_again(fd, error);
    if (tries > max_send_tries) {
      count_send_discard();
      return error;
    }
    usleep(send_pause_us);
  } while (is_before_deadline(start));
  return error_at_deadline();
}

std::int32_t aaa_msg_recv(std::int32_t fd, void* buffer, std::int32_t length) {
  using namespace aaa;
  if (fd < 0 || buffer == nullptr) return EINVAL;
  if (length == 0) return 0;
  if (length < 0) return error_at_deadline();
  std::size_t received = 0;
  return receive_exactly(fd, buffer, static_cast<std::size_t>(length), received);
}

aaa_ipc_header* aaa_recv_ipc_msg_from_sd(std::int32_t fd) {
  const aaa::CancellationScope no_cancellation(PTHREAD_CANCEL_DISABLE);
  return aaa::receive_message(fd, aaa::receive_exactly).message;
}
