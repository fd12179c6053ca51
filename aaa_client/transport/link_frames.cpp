#include "transport/link_frames.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "transport/debug_log.h"
#include "transport/message.h"

namespace aaa {
namespace {

std::int32_t write_frame(std::int32_t fd, const void* frame, std::uint32_t length) {
  return aaa_msg_send(fd, frame, static_cast<std::int32_t>(length), MSG_WAITALL);
}

std::uint32_t type_of(const void* frame) {
  aaa_ipc_header header;
  std::memcpy(&header, frame, sizeof header);
  return header.type;
}

std::int32_t write_on_link(LinkSocket socket, LinkNumber link, const void* frame,
                           std::uint32_t length) REQUIRES(write_lock_of(socket)) {
  const bool registers = type_of(frame) == AAA_MSG_REGISTER_REQ;
  const std::int32_t obstacle = obstacle_to_frame(socket, link, registers);
  if (obstacle != 0) return obstacle;
  const std::int32_t error = write_frame(load(field_of(socket)), frame, length);
  if (error == 0 && registers) allow_frames(socket);
  return error;
}

std::int32_t send_on_socket_of_link(LinkSocket socket, std::int32_t fd, const void* frame,
                                    std::uint32_t length) {
  const ScopedLock lock(write_lock_of(socket));
  if (load(field_of(socket)) != fd) return EBADF;
  return write_on_link(socket, link_number(), frame, length);
}

// Frames a body and hands it to `write`, which returns 0 or an errno value.
template <class Write>
std::int32_t frame_and_write(std::uint32_t type, const void* body, std::uint32_t body_length,
                             Write write) {
  const CancellationScope no_cancellation(PTHREAD_CANCEL_DISABLE);
  std::uint32_t length = 0;
  aaa_ipc_header* const message = aaa_init_msg(type, 0, body, body_length, &length);
  if (message == nullptr) return ENOMEM;
  const std::int32_t error = write(message, length);
  free_message(message);
  return error;
}

void log_send(std::uint32_t type, std::uint32_t body_length, std::int32_t fd) {
  AAA_DEBUG_LOG_AS("aaalib_send_ipc_msg_print", "%s: send message(%s) len(%d) to %d\n\r\r\n",
                   g_aaalib_process_name, aaa_ipc_get_msg_type_str(type),
                   static_cast<int>(body_length), fd);
}

}  // namespace

std::int32_t send_on_link(LinkSocket socket, LinkNumber link, const void* frame,
                          std::uint32_t length) {
  const ScopedLock lock(write_lock_of(socket));
  return write_on_link(socket, link, frame, length);
}

std::int32_t send_on_descriptor(std::int32_t fd, const void* frame, std::uint32_t length) {
  if (fd >= 1 && fd == load(g_aaa_client_cb.sync_fd)) {
    return send_on_socket_of_link(LinkSocket::request, fd, frame, length);
  }
  if (fd >= 1 && fd == load(g_aaa_client_cb.async_fd)) {
    return send_on_socket_of_link(LinkSocket::event, fd, frame, length);
  }
  return write_frame(fd, frame, length);
}

std::int32_t send_message_on_link(LinkSocket socket, LinkNumber link, std::uint32_t type,
                                  const void* body, std::uint32_t body_length) {
  log_send(type, body_length, load(field_of(socket)));
  return frame_and_write(type, body, body_length, [=](const void* frame, std::uint32_t length) {
    return send_on_link(socket, link, frame, length);
  });
}

}  // namespace aaa

std::int32_t aaa_send_ipc_msg(std::int32_t fd, std::uint32_t type, const void* body,
                              std::uint32_t body_length) {
  return aaa::frame_and_write(type, body, body_length,
                              [fd](const void* frame, std::uint32_t length) {
                                return aaa::send_on_descriptor(fd, frame, length);
                              });
}

std::int32_t aaalib_send_ipc_msg_print(std::int32_t fd, std::uint32_t type, const void* body,
                                       std::uint32_t body_length) {
  aaa::log_send(type, body_length, fd);
  return aaa_send_ipc_msg(fd, type, body, body_length);
}
