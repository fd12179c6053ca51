#include "server/connection.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "server/listener.h"

namespace aaa_sim {
namespace {

bool try_again() {
  return errno == EAGAIN || errno == EINTR;
}

}  // namespace

Connection::Connection(ConnectionId id, FileDescriptor socket)
    : id_(id), socket_(std::move(socket)), client_{"", peer_pid(fd())} {}

void Connection::identify(std::string model, Role role) {
  client_.model = std::move(model);
  role_ = role;
}

bool Connection::receive() {
  std::array<std::uint8_t, 65536> chunk;
  const ssize_t got = ::recv(fd(), chunk.data(), chunk.size(), 0);
  if (got > 0) input_.append(View(chunk.data(), static_cast<std::size_t>(got)));
  return got > 0 || (got < 0 && try_again());
}

bool Connection::write(std::size_t limit) {
  const std::size_t wanted = std::min(limit, output_.size());
  const ssize_t put = ::send(fd(), output_.data(), wanted, MSG_NOSIGNAL);
  if (put < 0) return try_again();
  output_.erase(output_.begin(), output_.begin() + put);
  return true;
}

std::string describe(const Connection& connection) {
  return describe(connection.client()) + " " + role_name(connection.role());
}

}  // namespace aaa_sim
