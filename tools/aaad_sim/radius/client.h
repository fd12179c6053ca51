// Asks RADIUS servers: resends, changes to the next server, and drops what is not an authentic
// reply.
#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "radius/counters.h"
#include "radius/endpoint.h"
#include "radius/packet.h"
#include "radius/settings.h"
#include "server/event_loop.h"
#include "server/timers.h"

namespace aaa_sim::radius {

// An authentic reply.
struct Reply {
  Packet packet = {};
  Authenticator request_authenticator = {};
  std::string secret = {};
};

// Called once, on the loop's thread; null when no server has answered in time.
using Done = std::function<void(const Reply*)>;

using Deadlines = std::multimap<TimePoint, PendingRequest*>;

// On the loop's thread only.
class Client {
 public:
  using Note = std::function<void(const std::string&)>;

  // More are ended at once, as if no server had answered.
  static constexpr std::size_t max_requests = 16384;

  // The arguments must outlive it. Throws std::runtime_error when a server cannot be addressed.
  Client(EventLoop& loop, const Settings& settings, Counters& counters, Note note);
  // Requests in progress end without a call of `done`.
  ~Client();
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  // An Access-Request or Accounting-Request. `done` may be called before the return.
  void submit(Code code, Attributes attributes, Done done);

 private:
  using Request = PendingRequest;
  using Endpoints = std::vector<std::unique_ptr<Endpoint>>;

  void open(Endpoints& endpoints, std::uint16_t ServerAddress::*port);
  std::vector<Endpoint*> route(Code code);
  void try_next_server(Request& request);
  void send_first(Request& request);
  void resend(Request& request);
  void send(Request& request);
  void give_up_server(Request& request);
  void finish(Request& request, const Reply* reply);
  void release_identifier(Request& request);
  void serve_waiting(Endpoint& endpoint);

  void set_deadline(Request& request, TimePoint at);
  void arm_timer();
  void handle_deadlines();
  void handle_deadline(Request& request);
  void receive(Endpoint& endpoint);
  void handle_datagram(Endpoint& endpoint, View datagram);
  void count(Defect defect);

  EventLoop& loop_;
  const Settings& settings_;
  Counters& counters_;
  const Note note_;
  Endpoints authentication_;
  Endpoints accounting_;
  std::list<Request> requests_;
  Deadlines deadlines_;
  Timer timer_;
  std::optional<TimePoint> armed_;
};

}  // namespace aaa_sim::radius
