#include "support/sockets.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <stdexcept>

namespace bench {

Bytes frame(std::uint32_t type, std::uint32_t id, const void* body, std::size_t length) {
  const aaa_ipc_header header = {marker, id, type, static_cast<std::uint32_t>(length)};
  Bytes message(header_size + length);
  std::memcpy(message.data(), &header, header_size);
  if (length > 0) std::memcpy(message.data() + header_size, body, length);
  return message;
}

Bytes blank_frame(std::uint32_t type, std::size_t length) {
  const Bytes body(length);
  return frame(type, 1, body.data(), length);
}

SocketPair make_pair(int type) {
  int ends[2];
  if (socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends) != 0) {
    throw std::runtime_error("no socket pair");
  }
  return {ends[0], ends[1]};
}

int listen_at(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(fd, 64) != 0) {
    throw std::runtime_error("cannot listen at " + path);
  }
  return fd;
}

bool send_all(int fd, const void* data, std::size_t size) {
  const auto* next = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t sent = send(fd, next, size, MSG_NOSIGNAL);
    if (sent <= 0) return false;
    next += sent;
    size -= static_cast<std::size_t>(sent);
  }
  return true;
}

bool receive_all(int fd, void* data, std::size_t size) {
  auto* next = static_cast<char*>(data);
  while (size > 0) {
    const ssize_t received = recv(fd, next, size, 0);
    if (received <= 0) return false;
    next += received;
    size -= static_cast<std::size_t>(received);
  }
  return true;
}

void wait_readable(int fd) {
  pollfd waited = {fd, POLLIN, 0};
  while (poll(&waited, 1, 5000) <= 0) {
  }
}

}  // namespace bench
