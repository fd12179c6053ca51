// One port of one server: its socket, and which request has which identifier.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <span>
#include <string>

#include "radius/socket.h"
#include "server/timers.h"
#include "wire/message.h"

namespace aaa_sim::radius {

struct PendingRequest;  // of the client

// Unpredictable bytes.
void fill_randomly(std::span<std::uint8_t> bytes);

class Endpoint {
 public:
  Endpoint(const std::string& host, std::uint16_t port, std::string secret);

  int fd() const { return socket_.get(); }
  const std::string& name() const { return name_; }
  const std::string& secret() const { return secret_; }

  bool has_free_identifier() const { return taken_ < owners_.size(); }
  // A random one that no pending request has. REQUIRES: has_free_identifier().
  std::uint8_t take_identifier(PendingRequest& owner);
  void release_identifier(std::uint8_t identifier);
  // Null when no pending request has the identifier.
  PendingRequest* owner(std::uint8_t identifier) const { return owners_.at(identifier); }

  // A datagram that cannot be sent is treated as lost in transit. False when an ICMP error was
  // reported, which an earlier one caused; this one is sent all the same.
  bool send(View packet) const;

  std::deque<PendingRequest*> waiting = {};  // for an identifier
  TimePoint avoided_until = {};              // after it has stayed silent

 private:
  const std::string name_;
  const std::string secret_;
  const FileDescriptor socket_;
  std::array<PendingRequest*, 256> owners_{};
  std::size_t taken_ = 0;
};

}  // namespace aaa_sim::radius
