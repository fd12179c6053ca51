#include "transport/link_sockets.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>

#include "aaa_client.h"
#include "transport/base/number_mark.h"
#include "transport/message_counters.h"
#include "transport/read_ahead.h"

namespace aaa {
namespace {

// Of the number in sync_fd. Guarded by request_write_lock.
constinit NumberMark unregistered;
constinit NumberMark closed;

int close_descriptor(std::int32_t fd) {
  return close(fd) == 0 ? 0 : errno;
}

// REQUIRES: the locks of the socket held.
void forget_number(LinkSocket socket) {
  store(field_of(socket), -1);
  if (socket == LinkSocket::event) {
    event_read_ahead.clear();
    return;
  }
  unregistered.clear();
  closed.clear();
}

// REQUIRES: the locks of the sockets held.
int close_and_forget(std::int32_t fd, std::initializer_list<LinkSocket> sockets) {
  const bool is_closed = fd == load(g_aaa_client_cb.sync_fd) && request_number_is_closed();
  const int error = is_closed ? EBADF : close_descriptor(fd);
  if (!is_gone(error)) return error;
  for (const LinkSocket socket : sockets)
    forget_number(socket);
  end_link();
  return error;
}

int close_held_request_socket(std::int32_t fd) {
  const ScopedLock no_write(request_write_lock);
  return close_and_forget(fd, {LinkSocket::request});
}

int close_held_event_socket(std::int32_t fd) {
  const ScopedLock no_write(event_write_lock);
  const ScopedLock no_read(event_read_lock);
  return close_and_forget(fd, {LinkSocket::event});
}

}  // namespace

std::int32_t& field_of(LinkSocket socket) {
  return socket == LinkSocket::request ? g_aaa_client_cb.sync_fd : g_aaa_client_cb.async_fd;
}

pthread_mutex_t& write_lock_of(LinkSocket socket) {
  return socket == LinkSocket::request ? request_write_lock : event_write_lock;
}

void record_socket(LinkSocket socket, std::int32_t fd) {
  const ScopedLock no_write(write_lock_of(socket));
  store(field_of(socket), fd);
  if (socket == LinkSocket::event) return;
  closed.clear();
  unregistered.set(g_aaa_client_cb.sync_fd);
}

void allow_frames() {
  unregistered.clear();
}

bool waits_for_register_request() {
  const ScopedLock no_write(request_write_lock);
  return unregistered.is_on(g_aaa_client_cb.sync_fd);
}

std::int32_t obstacle_to_frame(LinkSocket socket, LinkNumber link, bool is_register_request) {
  if (!link_lasts(link)) return EBADF;
  if (socket == LinkSocket::event) return 0;
  if (closed.is_on(g_aaa_client_cb.sync_fd)) {
    count_send_error(load(g_aaa_client_cb.sync_fd), EBADF);
    return EBADF;
  }
  return !is_register_request && unregistered.is_on(g_aaa_client_cb.sync_fd) ? EINVAL : 0;
}

bool request_number_is_closed() {
  return closed.is_on(g_aaa_client_cb.sync_fd);
}

void shut_down(LinkSocket socket) {
  const std::int32_t fd = load(field_of(socket));
  if (fd >= 1 && (socket == LinkSocket::event || !request_number_is_closed())) {
    shutdown(fd, SHUT_RDWR);
  }
}

int close_socket(LinkSocket socket) {
  shut_down(socket);
  const std::int32_t fd = load(field_of(socket));
  return socket == LinkSocket::request ? close_held_request_socket(fd)
                                       : close_held_event_socket(fd);
}

int close_both_at_once() {
  shut_down(LinkSocket::request);
  const ScopedLock no_request(request_write_lock);
  const ScopedLock no_event(event_write_lock);
  const ScopedLock no_read(event_read_lock);
  return close_and_forget(load(g_aaa_client_cb.sync_fd), {LinkSocket::request, LinkSocket::event});
}

int close_request_socket() {
  shut_down(LinkSocket::request);
  const ScopedLock no_write(request_write_lock);
  const int error = close_descriptor(load(g_aaa_client_cb.sync_fd));
  if (is_gone(error)) closed.set(g_aaa_client_cb.sync_fd);
  return error;
}

}  // namespace aaa
