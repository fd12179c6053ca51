// The request and event sockets to aaad.
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "session/locks.h"
#include "transport/debug_log.h"
#include "transport/endpoints.h"
#include "transport/local_socket.h"
#include "transport/paths.h"
#include "transport/read_ahead.h"
#include "transport/unix_address.h"

namespace aaa {
namespace {

bool is_open(std::int32_t fd) {
  return fd >= 1;
}

bool set_timeout(std::int32_t fd, int option) {
  const timeval two_seconds = {.tv_sec = 2, .tv_usec = 0};
  return setsockopt(fd, SOL_SOCKET, option, &two_seconds, sizeof two_seconds) == 0;
}

bool bind_to(std::int32_t fd, const char* path) {
  const UnixAddress address(path);
  if (bind(fd, address.get(), address.length_of_path()) == 0) return true;
  AAA_DEBUG_LOG_AS("aaa_lib_client_connect", "bind socket error!!! %s\r\n", std::strerror(errno));
  return false;
}

bool connect_to(std::int32_t fd, const char* path) {
  const UnixAddress address(path);
  // An aaad that is stopped with a full queue of connections must not block its clients for ever.
  set_timeout(fd, SO_SNDTIMEO);
  if (connect(fd, address.get(), address.length_of_path()) == 0) return true;
  AAA_DEBUG_LOG_AS("aaa_lib_client_connect", "connect to (%s) failed, %s\r\n", path,
                   std::strerror(errno));
  return false;
}

bool limit_waits(std::int32_t fd) {
  set_timeout(fd, SO_RCVTIMEO);
  if (set_timeout(fd, SO_SNDTIMEO)) return true;
  const int error = errno;
  AAA_UNGATED_LOG_AS("aaa_lib_client_connect", "setsockopt fail errno=%d error(%s).\r\n", error,
                     std::strerror(error));
  return false;
}

// Opens the socket of one field unless it is open. Returns false when it could not be opened.
bool open_socket(std::int32_t& socket, const char* prefix) {
  if (!is_open(load(socket))) store(socket, aaa_lib_client_connect(prefix));
  return load(socket) >= 0;
}

// What a close left of the socket: gone, also when it was not open in the first place.
bool is_gone(int close_error) {
  return close_error == 0 || close_error == EBADF;
}

// Closes the descriptor and forgets its number in `fields` before anybody can use it again.
int close_number(std::int32_t fd, std::initializer_list<std::int32_t*> fields) {
  shutdown(fd, SHUT_RDWR);
  const ScopedLock no_write(link_write_lock);
  const ScopedLock no_read(link_read_lock);
  const int error = close(fd) == 0 ? 0 : errno;
  if (!is_gone(error)) return error;
  for (std::int32_t* field : fields) {
    store(*field, -1);
    if (field == &g_aaa_client_cb.async_fd) event_read_ahead.clear();
  }
  return error;
}

std::int32_t close_once(std::int32_t fd) {
  if (!is_open(fd)) return 0;
  AAA_DEBUG_LOG_AS("aaa_lib_client_close", "socket equal %d, close once\r\n", fd);
  const int error = close_number(fd, {&g_aaa_client_cb.sync_fd, &g_aaa_client_cb.async_fd});
  return is_gone(error) ? 0 : -1;
}

}  // namespace

std::int32_t aaa_lib_client_connect(const char* prefix) {
  char server_path[108];
  if (aaa_make_path(server_path, server_socket_suffix, sizeof server_path) == 0) return -1;
  char own_path[108];
  const int own_length = std::snprintf(own_path, sizeof own_path, "%s%d", prefix, getpid());
  if (own_length < 0) return -1;
  unlink(own_path);
  const std::int32_t fd = open_local_socket(SOCK_STREAM);
  if (fd < 0) {
    AAA_DEBUG_LOG("create socket error!!! %s\r\n", std::strerror(errno));
    return -1;
  }
  const bool connected = bind_to(fd, own_path) && connect_to(fd, server_path) && limit_waits(fd);
  if (!connected) close(fd);
  unlink(own_path);
  return connected ? fd : -1;
}

std::int32_t aaa_lib_client_connect_all() {
  char request_prefix[256];
  char event_prefix[256];
  if (aaa_make_path(request_prefix, request_socket_suffix, sizeof request_prefix) == 0) return -1;
  if (aaa_make_path(event_prefix, event_socket_suffix, sizeof event_prefix) == 0) return -1;
  const ScopedLock lock(aaa_lib_lock);
  if (!open_socket(g_aaa_client_cb.sync_fd, request_prefix)) return -1;
  return open_socket(g_aaa_client_cb.async_fd, event_prefix) ? 0 : -1;
}

int close_link_socket(std::int32_t& socket) {
  return close_number(load(socket), {&socket});
}

std::int32_t aaa_lib_client_close() {
  const ScopedLock lock(aaa_lib_lock);
  const std::int32_t sync_fd = load(g_aaa_client_cb.sync_fd);
  const std::int32_t async_fd = load(g_aaa_client_cb.async_fd);
  if (sync_fd == async_fd) return close_once(sync_fd);
  // Both first: the close of one waits for whoever reads from the other.
  for (const std::int32_t fd : {sync_fd, async_fd})
    if (is_open(fd)) shutdown(fd, SHUT_RDWR);
  int errors = 0;
  if (is_open(sync_fd)) errors |= close_link_socket(g_aaa_client_cb.sync_fd);
  if (is_open(async_fd)) errors |= close_link_socket(g_aaa_client_cb.async_fd);
  return errors == 0 ? 0 : -1;
}

bool aaa_lib_is_conn_broken_err(std::int32_t error) {
  switch (error) {
    case EBADF:
    case EPIPE:
    case ENOTSOCK:
    case EOPNOTSUPP:
    case ENETDOWN:
    case ECONNRESET:
    case ENOTCONN:
    case ETIMEDOUT:
      return true;
    default:
      return false;
  }
}

}  // namespace aaa
