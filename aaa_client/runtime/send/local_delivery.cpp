#include "runtime/send/local_delivery.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "aaa_client.h"
#include "transport/base/atomic_word.h"
#include "transport/base/descriptors.h"
#include "transport/base/memory.h"
#include "transport/base/paths.h"
#include "transport/debug_log.h"

std::int32_t lib_msg_server_fd = -1;
std::int32_t lib_msg_client_fd = -1;

namespace aaa {

std::uint8_t g_msg_socket_ok = 0;
std::uint32_t g_temp_sid = 0;

namespace {

constexpr char log_name[] = "aaa_lib_msg_socket_init";

// A mark on the number in lib_msg_client_fd.
constinit NumberMark closed_client;

struct Names {
  char server[108];
  char client[108];

  bool make() {
    return make_one(server, message_server_suffix) && make_one(client, message_client_suffix);
  }
  void remove() const {
    unlink(client);
    unlink(server);
  }

 private:
  static bool make_one(char (&name)[108], const char* suffix) {
    char path[100];
    if (aaa_make_path(path, suffix, sizeof path) == 0) return false;
    return std::snprintf(name, sizeof name, "%s%d", path, getpid()) > 0;
  }
};

bool open_datagram_socket(std::int32_t& socket_fd) {
  store(socket_fd, open_local_socket(SOCK_DGRAM));
  return socket_fd >= 0;
}

bool bind_to(std::int32_t fd, const char* name) {
  const UnixAddress address(name);
  unlink(name);
  if (bind(fd, address.get(), UnixAddress::full_length()) == 0) return true;
  AAA_DEBUG_LOG_AS(log_name, "domain socket bind (%s) failed\r\n", name);
  return false;
}

bool connect_client(const char* server_name) {
  const UnixAddress address(server_name);
  if (connect(lib_msg_client_fd, address.get(), UnixAddress::full_length()) == 0) return true;
  AAA_DEBUG_LOG_AS(log_name, "domain socket connect failed, err(%d)\r\n", errno);
  return false;
}

bool limit_client_sends() {
  if (limit_waits(lib_msg_client_fd, SO_SNDTIMEO)) return true;
  AAA_DEBUG_LOG_AS(log_name, "lib_msg_client_fd connect failed, err(%d)\r\n", errno);
  return false;
}

bool make_server(const Names& names) {
  if (bind_to(lib_msg_server_fd, names.server)) return true;
  unlink(names.server);
  return false;
}

// The field keeps its number, which a client may read. The mark comes first: another thread must
// not write to a number that the host process has reused.
void close_client() {
  closed_client.set(lib_msg_client_fd);
  close(lib_msg_client_fd);
}

bool make_client(const Names& names) {
  const bool opened = open_datagram_socket(lib_msg_client_fd);
  closed_client.clear();  // the field has held another value, -1 too
  if (!opened) {
    AAA_DEBUG_LOG_AS(log_name, "create socket(msg client fd) failed, err(%d)\r\n", errno);
    unlink(names.server);
    return false;
  }
  const bool made = bind_to(lib_msg_client_fd, names.client) && connect_client(names.server) &&
                    limit_client_sends();
  names.remove();
  if (!made) close_client();
  return made;
}

// The server socket of a call that failed because no path could be built; -1 when there is none.
std::int32_t left_open GUARDED_BY(aaa_lib_lock) = -1;

void close_left_open() REQUIRES(aaa_lib_lock) {
  if (left_open >= 0) close(left_open);
  left_open = -1;
}

}  // namespace
}  // namespace aaa

std::int32_t aaa_lib_msg_socket_init() {
  using namespace aaa;
  const ScopedLock lock(aaa_lib_lock);
  if (load(g_msg_socket_ok) != 0) return 0;
  close_left_open();
  if (!open_datagram_socket(lib_msg_server_fd)) {
    AAA_DEBUG_LOG("create socket(message server fd) failed, err(%d)\r\n", errno);
    return -1;
  }
  Names names;
  if (!names.make()) {
    left_open = lib_msg_server_fd;
    return -1;
  }
  if (!make_server(names) || !make_client(names)) {
    close(lib_msg_server_fd);
    return -1;
  }
  store(g_msg_socket_ok, std::uint8_t{1});
  return 0;
}

namespace aaa {
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
  // Not of the copy, which may be older than the mark.
  const bool is_closed = aaa::closed_client.is_on(lib_msg_client_fd);
  if (fd < 1) {
    AAA_DEBUG_LOG("lib_msg_client_fd is not ready.\r\n");
    return;
  }
  const std::int32_t error =
      is_closed ? EBADF : aaa_msg_send(fd, body, static_cast<std::int32_t>(length), MSG_WAITALL);
  if (error != 0) AAA_DEBUG_LOG("send failed %s\r\n", std::strerror(error));
}
