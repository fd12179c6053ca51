// The request and event sockets to aaad.
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "aaa_client.h"
#include "session/state/locks.h"
#include "transport/base/descriptors.h"
#include "transport/base/paths.h"
#include "transport/debug_log.h"
#include "transport/link_sockets.h"

namespace aaa {
namespace {

constexpr std::int64_t any_uid = -1;
std::int64_t aaad_uid = any_uid;

// The last unexpected user that was logged, so that it is logged once and not at every attempt.
std::int64_t logged_uid = any_uid;

bool is_open(std::int32_t fd) {
  return fd >= 1;
}

bool bind_to(std::int32_t fd, const char* path) {
  const UnixAddress address(path);
  if (bind(fd, address.get(), address.length_of_path()) == 0) return true;
  AAA_DEBUG_LOG_AS("aaa_lib_client_connect", "bind socket error!!! %s\r\n", std::strerror(errno));
  return false;
}

bool connect_to(std::int32_t fd, const char* path) {
  const UnixAddress address(path);
  // Otherwise connect() would block forever on an aaad that is stopped and whose backlog is full.
  limit_waits(fd, SO_SNDTIMEO);
  if (connect(fd, address.get(), address.length_of_path()) == 0) return true;
  AAA_DEBUG_LOG_AS("aaa_lib_client_connect", "connect to (%s) failed, %s\r\n", path,
                   std::strerror(errno));
  return false;
}

// Whether the process that listens is the expected user's.
bool is_expected_peer(std::int32_t fd, const char* path) {
  const std::int64_t expected = load(aaad_uid);
  if (expected == any_uid) return true;
  ucred peer = {};
  socklen_t size = sizeof peer;
  const bool is_known = getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0;
  const std::int64_t uid = is_known ? std::int64_t{peer.uid} : std::int64_t{UINT32_MAX};
  const bool is_expected = is_known && uid == expected;
  if (!is_expected && uid != load(logged_uid)) {
    AAA_UNGATED_LOG_AS("aaa_lib_client_connect",
                       "(%s) belongs to user %u, not to user %u; not connected.\r\n", path,
                       static_cast<unsigned>(uid), static_cast<unsigned>(expected));
  }
  store(logged_uid, is_expected ? any_uid : uid);
  return is_expected;
}

bool limit_both_waits(std::int32_t fd) {
  limit_waits(fd, SO_RCVTIMEO);
  if (limit_waits(fd, SO_SNDTIMEO)) return true;
  const int error = errno;
  AAA_UNGATED_LOG_AS("aaa_lib_client_connect", "setsockopt fail errno=%d error(%s).\r\n", error,
                     std::strerror(error));
  return false;
}

bool socket_is_open(LinkSocket socket) {
  if (socket == LinkSocket::request && request_number_is_closed()) return false;
  return is_open(load(field_of(socket)));
}

// Opens a socket unless it is open. Returns false when it could not be opened.
bool open_socket(LinkSocket socket, const char* prefix) REQUIRES(aaa_lib_lock) {
  if (socket_is_open(socket)) return true;
  record_socket(socket, aaa_lib_client_connect(prefix));
  return load(field_of(socket)) >= 0;
}

std::int32_t close_once(std::int32_t fd) REQUIRES(aaa_lib_lock) {
  if (!is_open(fd)) return 0;
  AAA_DEBUG_LOG_AS("aaa_lib_client_close", "socket equal %d, close once\r\n", fd);
  return is_gone(close_both_at_once()) ? 0 : -1;
}

// Shuts down both first: closing one may wait for a thread that reads from the other.
std::int32_t close_each() REQUIRES(aaa_lib_lock) {
  shut_down(LinkSocket::request);
  shut_down(LinkSocket::event);
  int errors = 0;
  if (is_open(load(g_aaa_client_cb.sync_fd))) errors |= close_socket(LinkSocket::request);
  if (is_open(load(g_aaa_client_cb.async_fd))) errors |= close_socket(LinkSocket::event);
  return errors == 0 ? 0 : -1;
}

}  // namespace
}  // namespace aaa

std::int32_t aaa_set_aaad_uid(std::int64_t uid) {
  // UINT32_MAX is no user.
  if (uid < aaa::any_uid || uid >= UINT32_MAX) return -1;
  aaa::store(aaa::aaad_uid, uid);
  aaa::store(aaa::logged_uid, aaa::any_uid);
  return 0;
}

std::int32_t aaa_lib_client_connect(const char* prefix) {
  using namespace aaa;
  if (prefix == nullptr) return -1;
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
  const bool connected = bind_to(fd, own_path) && connect_to(fd, server_path) &&
                         is_expected_peer(fd, server_path) && limit_both_waits(fd);
  if (!connected) close(fd);
  unlink(own_path);
  return connected ? fd : -1;
}

std::int32_t aaa_lib_client_connect_all() {
  using namespace aaa;
  char request_prefix[256];
  char event_prefix[256];
  if (aaa_make_path(request_prefix, request_socket_suffix, sizeof request_prefix) == 0) return -1;
  if (aaa_make_path(event_prefix, event_socket_suffix, sizeof event_prefix) == 0) return -1;
  const ScopedLock lock(aaa_lib_lock);
  if (!open_socket(LinkSocket::request, request_prefix)) return -1;
  return open_socket(LinkSocket::event, event_prefix) ? 0 : -1;
}

std::int32_t aaa_lib_client_close() {
  using namespace aaa;
  const ScopedLock lock(aaa_lib_lock);
  const std::int32_t sync_fd = load(g_aaa_client_cb.sync_fd);
  const std::int32_t async_fd = load(g_aaa_client_cb.async_fd);
  return sync_fd == async_fd ? close_once(sync_fd) : close_each();
}

std::int32_t aaa_lib_is_conn_broken_err(std::int32_t error) {
  switch (error) {
    case EBADF:
    case EPIPE:
    case ENOTSOCK:
    case EOPNOTSUPP:
    case ENETDOWN:
    case ECONNRESET:
    case ENOTCONN:
    case ETIMEDOUT:
      return 1;
    default:
      return 0;
  }
}
