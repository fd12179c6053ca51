#include "transport/link_sockets.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cassert>
#include <cerrno>

#include "aaa_client.h"
#include "transport/base/number_mark.h"
#include "transport/message_counters.h"
#include "transport/read_ahead.h"

namespace aaa {
namespace {

// Of the number in sync_fd. Changed under request_write_lock.
constinit NumberMark unregistered;
constinit NumberMark closed;

int close_descriptor(std::int32_t fd) {
  return close(fd) == 0 ? 0 : errno;
}

// The number on record may have been closed already.
int close_request_descriptor() REQUIRES(request_write_lock) {
  const std::int32_t fd = load(g_aaa_client_cb.sync_fd);
  return closed.is_on(g_aaa_client_cb.sync_fd) ? EBADF : close_descriptor(fd);
}

void forget_request_number() REQUIRES(aaa_lib_lock, request_write_lock) {
  store(g_aaa_client_cb.sync_fd, -1);
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
  closed.clear();
  unregistered.set(g_aaa_client_cb.sync_fd);
}

void allow_frames(LinkSocket socket) {
  assert(is_held(write_lock_of(socket)));
  if (socket == LinkSocket::request) unregistered.clear();
}

bool waits_for_register_request() {
  const ScopedLock no_write(request_write_lock);
  return unregistered.is_on(g_aaa_client_cb.sync_fd);
}

std::int32_t obstacle_to_frame(LinkSocket socket, LinkNumber link, bool is_register_request) {
  assert(is_held(write_lock_of(socket)));
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
  if (is_gone(error)) closed.set(g_aaa_client_cb.sync_fd);
  return error;
}

}  // namespace aaa
