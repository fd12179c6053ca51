#include "transport/link_sockets.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cassert>
#include <cerrno>
#include <cstring>

#include "aaa_client.h"
#include "transport/base/descriptors.h"
#include "transport/debug_log.h"
#include "transport/framing.h"
#include "transport/message.h"
#include "transport/read_ahead.h"

namespace aaa {
namespace {

// Marks on the number in sync_fd: set with aaa_lib_lock and request_write_lock held, looked at and
// cleared with either of them.
constinit NumberMark unregistered;
constinit NumberMark closed;

int close_descriptor(std::int32_t fd) {
  return close(fd) == 0 ? 0 : errno;
}

// The number may have been closed already.
int close_request_descriptor() REQUIRES(request_write_lock) {
  const std::int32_t fd = load(g_aaa_client_cb.sync_fd);
  return closed.is_on(g_aaa_client_cb.sync_fd) ? EBADF : close_descriptor(fd);
}

void forget_request_number() REQUIRES(aaa_lib_lock, request_write_lock) {
  store(g_aaa_client_cb.sync_fd, -1);
  request_read_ahead.clear();
  unregistered.clear();
  closed.clear();
}

void forget_event_number() REQUIRES(aaa_lib_lock, event_write_lock, event_read_lock) {
  store(g_aaa_client_cb.async_fd, -1);
  event_read_ahead.clear();
}

int close_request() REQUIRES(aaa_lib_lock) {
  const ScopedLock no_write(request_write_lock);
  const int error = close_request_descriptor();
  if (!is_gone(error)) return error;
  forget_request_number();
  end_link();
  return error;
}

int close_event() REQUIRES(aaa_lib_lock) {
  const ScopedLock no_write(event_write_lock);
  const ScopedLock no_read(event_read_lock);
  const int error = close_descriptor(load(g_aaa_client_cb.async_fd));
  if (!is_gone(error)) return error;
  forget_event_number();
  end_link();
  return error;
}

// Called when the register request has been written.
void allow_frames(LinkSocket socket) REQUIRES(write_lock_of(socket)) {
  assert(is_held(write_lock_of(socket)));
  if (socket == LinkSocket::request) unregistered.clear();
}

// Why a frame of the given link cannot be written: EBADF when that link has ended or the library
// has closed the number in the field, which counts as a failed send; EINVAL for another frame than
// the register request while that must come first. 0 when it can.
std::int32_t obstacle_to_frame(LinkSocket socket, LinkNumber link, bool is_register_request)
    REQUIRES(write_lock_of(socket)) {
  assert(is_held(write_lock_of(socket)));
  if (!link_lasts(link)) return EBADF;
  if (socket == LinkSocket::event) return 0;
  if (closed.is_on(g_aaa_client_cb.sync_fd)) {
    count_send_error(load(g_aaa_client_cb.sync_fd), EBADF);
    return EBADF;
  }
  return !is_register_request && unregistered.is_on(g_aaa_client_cb.sync_fd) ? EINVAL : 0;
}

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
  const InnerLock lock(write_lock_of(socket));
  if (load(field_of(socket)) != fd) return EBADF;
  return write_on_link(socket, link_number(), frame, length);
}

// A descriptor that does not belong to the link is written without a lock.
std::int32_t send_on_descriptor(std::int32_t fd, const void* frame, std::uint32_t length) {
  if (fd >= 1 && fd == load(g_aaa_client_cb.sync_fd)) {
    return send_on_socket_of_link(LinkSocket::request, fd, frame, length);
  }
  if (fd >= 1 && fd == load(g_aaa_client_cb.async_fd)) {
    return send_on_socket_of_link(LinkSocket::event, fd, frame, length);
  }
  return write_frame(fd, frame, length);
}

// Frames a body and hands it to `write`, which returns 0 or an errno value.
// REQUIRES: cancellation is disabled.
template <class Write>
std::int32_t frame_and_write(std::uint32_t type, const void* body, std::uint32_t body_length,
                             Write write) {
  std::uint32_t length = 0;
  aaa_ipc_header* const message = aaa_init_msg(type, 0, body, body_length, &length);
  if (message == nullptr) return ENOMEM;
  const std::int32_t error = write(message, length);
  free_message(message);
  return error;
}

std::int32_t send_message(std::int32_t fd, std::uint32_t type, const void* body,
                          std::uint32_t body_length) {
  return frame_and_write(type, body, body_length, [fd](const void* frame, std::uint32_t length) {
    return send_on_descriptor(fd, frame, length);
  });
}

void log_send(std::uint32_t type, std::uint32_t body_length, std::int32_t fd) {
  AAA_DEBUG_LOG_AS("aaalib_send_ipc_msg_print", "%s: send message(%s) len(%d) to %d\n\r\r\n",
                   g_aaalib_process_name, aaa_ipc_get_msg_type_str(type),
                   static_cast<int>(body_length), fd);
}

}  // namespace

std::int32_t& field_of(LinkSocket socket) {
  return socket == LinkSocket::request ? g_aaa_client_cb.sync_fd : g_aaa_client_cb.async_fd;
}

Mutex& write_lock_of(LinkSocket socket) {
  return socket == LinkSocket::request ? request_write_lock : event_write_lock;
}

void record_socket(LinkSocket socket, std::int32_t fd) {
  assert(is_held(aaa_lib_lock));
  const ScopedLock no_write(write_lock_of(socket));
  store(field_of(socket), fd);
  if (socket == LinkSocket::event) return;
  request_read_ahead.clear();
  closed.clear();
  unregistered.set(g_aaa_client_cb.sync_fd);
}

bool waits_for_register_request() {
  const ScopedLock no_write(request_write_lock);
  return unregistered.is_on(g_aaa_client_cb.sync_fd);
}

bool request_number_is_closed() {
  return closed.is_on(g_aaa_client_cb.sync_fd);
}

void shut_down(LinkSocket socket) {
  assert(is_held(aaa_lib_lock));
  const std::int32_t fd = load(field_of(socket));
  if (fd >= 1 && (socket == LinkSocket::event || !request_number_is_closed())) {
    shutdown(fd, SHUT_RDWR);
  }
}

int close_socket(LinkSocket socket) {
  assert(is_held(aaa_lib_lock));
  shut_down(socket);
  return socket == LinkSocket::request ? close_request() : close_event();
}

int close_both_at_once() {
  assert(is_held(aaa_lib_lock));
  shut_down(LinkSocket::request);
  const ScopedLock no_request(request_write_lock);
  const ScopedLock no_event(event_write_lock);
  const ScopedLock no_read(event_read_lock);
  const int error = close_request_descriptor();
  if (!is_gone(error)) return error;
  forget_request_number();
  forget_event_number();
  end_link();
  return error;
}

int close_request_socket() {
  assert(is_held(aaa_lib_lock));
  shut_down(LinkSocket::request);
  const ScopedLock no_write(request_write_lock);
  const int error = close_descriptor(load(g_aaa_client_cb.sync_fd));
  if (!is_gone(error)) return error;
  closed.set(g_aaa_client_cb.sync_fd);
  request_read_ahead.clear();
  return error;
}

std::int32_t send_on_link(LinkSocket socket, LinkNumber link, const void* frame,
                          std::uint32_t length) {
  const InnerLock lock(write_lock_of(socket));
  return write_on_link(socket, link, frame, length);
}

std::int32_t send_message_on_link(LinkSocket socket, LinkNumber link, std::uint32_t type,
                                  const void* body, std::uint32_t body_length) {
  log_send(type, body_length, load(field_of(socket)));
  const CancellationScope no_cancellation(PTHREAD_CANCEL_DISABLE);
  return frame_and_write(type, body, body_length, [=](const void* frame, std::uint32_t length) {
    return send_on_link(socket, link, frame, length);
  });
}

std::int32_t log_and_send_message(std::int32_t fd, std::uint32_t type, const void* body,
                                  std::uint32_t body_length) {
  log_send(type, body_length, fd);
  return send_message(fd, type, body, body_length);
}

}  // namespace aaa

std::int32_t aaa_send_ipc_msg(std::int32_t fd, std::uint32_t type, const void* body,
                              std::uint32_t body_length) {
  const aaa::CancellationScope no_cancellation(PTHREAD_CANCEL_DISABLE);
  return aaa::send_message(fd, type, body, body_length);
}

std::int32_t aaalib_send_ipc_msg_print(std::int32_t fd, std::uint32_t type, const void* body,
                                       std::uint32_t body_length) {
  aaa::log_send(type, body_length, fd);
  return aaa_send_ipc_msg(fd, type, body, body_length);
}
