#include "radius/endpoint.h"

#include <sys/random.h>
#include <sys/socket.h>

#include <cerrno>

namespace aaa_sim::radius {

void fill_randomly(std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t got = ::getrandom(bytes.data(), bytes.size(), 0);
    if (got > 0) bytes = bytes.subspan(static_cast<std::size_t>(got));
  }
}

Endpoint::Endpoint(const std::string& host, std::uint16_t port, std::string secret)
    : name_(host + " port " + std::to_string(port)),
      secret_(std::move(secret)),
      socket_(connect_udp(host, port)) {}

std::uint8_t Endpoint::take_identifier(PendingRequest& owner) {
  std::uint8_t identifier;
  fill_randomly({&identifier, 1});
  while (owners_[identifier] != nullptr)
    ++identifier;
  owners_[identifier] = &owner;
  ++taken_;
  return identifier;
}

void Endpoint::release_identifier(std::uint8_t identifier) {
  owners_[identifier] = nullptr;
  --taken_;
}

bool Endpoint::send(View packet) const {
  const auto try_once = [&] {
    return ::send(socket_.get(), packet.data(), packet.size(), MSG_NOSIGNAL) >= 0;
  };
  if (try_once() || errno != ECONNREFUSED) return true;
  try_once();
  return false;
}

}  // namespace aaa_sim::radius
