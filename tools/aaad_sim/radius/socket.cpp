#include "radius/socket.h"

#include <netdb.h>
#include <sys/socket.h>

#include <memory>
#include <stdexcept>

namespace aaa_sim::radius {
namespace {

using AddressList = std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)>;

AddressList find_addresses(const std::string& host, std::uint16_t port, int flags) {
  addrinfo hints{};
  hints.ai_flags = flags | AI_NUMERICSERV;
  hints.ai_socktype = SOCK_DGRAM;
  addrinfo* found = nullptr;
  const int error = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
  if (error != 0) throw std::runtime_error(host + ": " + ::gai_strerror(error));
  return {found, ::freeaddrinfo};
}

// With room for the replies to all requests that a server may have at once, or as much as there may
// be.
FileDescriptor udp_socket(const addrinfo& address) {
  FileDescriptor socket =
      checked(::socket(address.ai_family, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0), "udp");
  constexpr int room = 1 << 20;
  ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
  return socket;
}

void check(int result, const std::string& host, std::uint16_t port) {
  if (result == 0) return;
  throw std::system_error(errno, std::generic_category(), host + " port " + std::to_string(port));
}

}  // namespace

FileDescriptor connect_udp(const std::string& host, std::uint16_t port) {
  const AddressList address = find_addresses(host, port, 0);
  FileDescriptor socket = udp_socket(*address);
  check(::connect(socket.get(), address->ai_addr, address->ai_addrlen), host, port);
  return socket;
}

FileDescriptor bind_udp(const std::string& host, std::uint16_t port) {
  const AddressList address = find_addresses(host, port, AI_PASSIVE);
  FileDescriptor socket = udp_socket(*address);
  check(::bind(socket.get(), address->ai_addr, address->ai_addrlen), host, port);
  return socket;
}

}  // namespace aaa_sim::radius
