// Disconnect-Requests and CoA-Requests of RADIUS servers (RFC 5176), which become notices for
// clients.
#pragma once

#include <sys/socket.h>

#include <deque>
#include <functional>

#include "radius/packet.h"
#include "radius/sessions.h"
#include "radius/settings.h"
#include "server/event_loop.h"
#include "server/timers.h"
#include "wire/event_messages.h"

namespace aaa_sim::radius {

// Sends a message on the event connection of a client. False when the client is not there.
using Notify = std::function<bool(const ClientName&, const EventMessage&)>;

// On the loop's thread only.
class DynamicAuthorization {
 public:
  // The arguments must outlive it. Throws std::runtime_error when the port cannot be bound.
  DynamicAuthorization(EventLoop& loop, const Settings& settings, const Sessions& sessions,
                       Notify notify);
  ~DynamicAuthorization();
  DynamicAuthorization(const DynamicAuthorization&) = delete;
  DynamicAuthorization& operator=(const DynamicAuthorization&) = delete;

 private:
  struct Source {
    sockaddr_storage address{};
    socklen_t size = sizeof address;

    bool operator==(const Source& other) const;
  };
  // What a repeated request is answered with.
  struct Answer {
    Source source;
    Bytes request;
    Bytes response;
    TimePoint valid_until;  // later the request is a new one
  };

  void receive();
  void handle_datagram(const Source& source, View datagram);
  void remember(Answer answer);
  void send(const Answer& answer) const;
  Bytes answer(const Packet& request) const;
  std::uint32_t error_of(const Packet& request) const;
  std::vector<std::uint32_t> sessions_of(const Packet& request) const;
  bool tell_client(std::uint32_t session_id, const Packet& request) const;

  EventLoop& loop_;
  const Settings& settings_;
  const Sessions& sessions_;
  const Notify notify_;
  FileDescriptor socket_;
  std::deque<Answer> answers_;  // the last ones
};

}  // namespace aaa_sim::radius
