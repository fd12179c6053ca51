// Requests of clients that RADIUS servers answer.
#pragma once

#include "radius/client.h"
#include "radius/dynamic_authorization.h"
#include "radius/sessions.h"
#include "server/request.h"

namespace aaa_sim::radius {

// On the loop's thread only.
class Gateway {
 public:
  // `loop` and `counters` must outlive it. Throws std::runtime_error when a socket cannot be
  // opened.
  Gateway(EventLoop& loop, Settings settings, Counters& counters, Client::Note note, Notify notify);

  // False when the request is not for a RADIUS server. Otherwise calls `respond` once, now or when
  // a server has answered or none has in time.
  bool handle(const Request& request, const Respond& respond);

 private:
  void authenticate(const Request& request, const Respond& respond);
  void authorize(const Request& request, const Respond& respond) const;
  void account(const Request& request, const Respond& respond);

  const Settings settings_;
  const Client::Note note_;
  Sessions sessions_;
  Client client_;
  DynamicAuthorization dynamic_authorization_;
};

}  // namespace aaa_sim::radius
