#include "radius/client.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace aaa_sim::radius {

struct PendingRequest {
  Code code;
  Attributes attributes;
  Done done;
  TimePoint submitted;
  TimePoint last_deadline;        // of all tries together
  std::vector<Endpoint*> route;   // the servers not tried yet, the next one last
  Endpoint* endpoint = nullptr;   // the server that is asked, or that it waits for
  bool is_waiting = false;        // for an identifier
  unsigned tries_left = 0;        // of this server
  TimePoint first_try = {};       // of this server
  std::uint8_t identifier = 0;    // while it is neither waiting nor done
  Authenticator authenticator{};  // of `packet`
  Bytes packet = {};
  Deadlines::iterator deadline = {};
  bool has_deadline = false;
  std::list<PendingRequest>::iterator self = {};
};

namespace {

std::uint32_t seconds_since(TimePoint start) {
  return static_cast<std::uint32_t>(
      std::chrono::duration_cast<std::chrono::seconds>(kernel_now() - start).count());
}

// The delay changes with each server, never between copies of one packet.
Bytes encode_accounting(const PendingRequest& request) {
  Attributes attributes = request.attributes;
  attributes.delay_by(seconds_since(request.submitted));
  return encode_accounting_request(request.identifier, attributes, request.endpoint->secret());
}

void encode_packet(PendingRequest& request) {
  if (request.code == Code::accounting_request) {
    request.packet = encode_accounting(request);
    request.authenticator = authenticator_of(request.packet);
    return;
  }
  fill_randomly(request.authenticator);
  request.packet = encode_request(request.code, request.identifier, request.authenticator,
                                  request.attributes, request.endpoint->secret());
}

}  // namespace

Client::Client(EventLoop& loop, const Settings& settings, Counters& counters, Note note)
    : loop_(loop), settings_(settings), counters_(counters), note_(std::move(note)) {
  if (settings.authentication) open(authentication_, &ServerAddress::authentication_port);
  if (settings.accounting) open(accounting_, &ServerAddress::accounting_port);
  for (const Endpoints* endpoints : {&authentication_, &accounting_}) {
    for (const auto& endpoint : *endpoints) {
      loop_.watch(endpoint->fd(), EPOLLIN,
                  [this, to = endpoint.get()](std::uint32_t) { receive(*to); });
    }
  }
  loop_.watch(timer_.fd(), EPOLLIN, [this](std::uint32_t) { handle_deadlines(); });
  if (settings.allow_unsigned_replies)
    note_("radius: replies without a Message-Authenticator are accepted");
}

Client::~Client() {
  loop_.forget(timer_.fd());
  for (const Endpoints* endpoints : {&authentication_, &accounting_}) {
    for (const auto& endpoint : *endpoints)
      loop_.forget(endpoint->fd());
  }
}

void Client::open(Endpoints& endpoints, std::uint16_t ServerAddress::*port) {
  for (const ServerAddress& server : settings_.servers)
    endpoints.push_back(std::make_unique<Endpoint>(server.host, server.*port, server.secret));
}

void Client::submit(Code code, Attributes attributes, Done done) {
  const TimePoint now = kernel_now();
  ++counters_.requests;
  if (requests_.size() == max_requests) {
    ++counters_.unanswered;
    return done(nullptr);
  }
  requests_.push_front({.code = code,
                        .attributes = std::move(attributes),
                        .done = std::move(done),
                        .submitted = now,
                        .last_deadline = now + settings_.timeout * settings_.tries *
                                                   static_cast<int>(settings_.servers.size()),
                        .route = route(code)});
  Request& request = requests_.front();
  request.self = requests_.begin();
  try_next_server(request);
}

// In reverse: servers that have answered lately before those that stayed silent.
std::vector<Endpoint*> Client::route(Code code) {
  const Endpoints& all = code == Code::accounting_request ? accounting_ : authentication_;
  std::vector<Endpoint*> route;
  for (const auto& endpoint : all)
    route.push_back(endpoint.get());
  const TimePoint now = kernel_now();
  std::stable_partition(route.begin(), route.end(),
                        [now](const Endpoint* e) { return e->avoided_until <= now; });
  std::ranges::reverse(route);
  return route;
}

void Client::try_next_server(Request& request) {
  if (request.route.empty()) return finish(request, nullptr);
  request.endpoint = request.route.back();
  request.route.pop_back();
  if (request.endpoint->has_free_identifier()) return send_first(request);
  request.is_waiting = true;
  request.endpoint->waiting.push_back(&request);
  set_deadline(request, request.last_deadline);
}

void Client::send_first(Request& request) {
  request.is_waiting = false;
  request.identifier = request.endpoint->take_identifier(request);
  request.tries_left = settings_.tries - 1;
  request.first_try = kernel_now();
  encode_packet(request);
  send(request);
}

// The same bytes.
void Client::resend(Request& request) {
  --request.tries_left;
  ++counters_.resent;
  send(request);
}

void Client::send(Request& request) {
  if (!request.endpoint->send(request.packet)) ++counters_.refused;
  set_deadline(request, kernel_now() + settings_.timeout);
}

// A request whose time ended soon after it got its identifier does not tell that the server is
// silent.
void Client::give_up_server(Request& request) {
  Endpoint& endpoint = *request.endpoint;
  const TimePoint now = kernel_now();
  if (now - request.first_try > settings_.timeout * settings_.tries / 2) {
    if (endpoint.avoided_until <= now) note_("radius: " + endpoint.name() + " does not answer");
    endpoint.avoided_until = now + settings_.pause;
  }
  if (now >= request.last_deadline) request.route.clear();
  release_identifier(request);
  if (!request.route.empty()) ++counters_.failovers;
  try_next_server(request);
}

void Client::release_identifier(Request& request) {
  request.endpoint->release_identifier(request.identifier);
  serve_waiting(*request.endpoint);
}

// The request that has waited longest gets the free identifier, unless it can ask another server
// than one that has turned out to be silent.
void Client::serve_waiting(Endpoint& endpoint) {
  const bool is_silent = endpoint.avoided_until > kernel_now();
  while (!endpoint.waiting.empty() && endpoint.has_free_identifier()) {
    Request& next = *endpoint.waiting.front();
    endpoint.waiting.pop_front();
    if (is_silent && !next.route.empty()) {
      ++counters_.failovers;
      try_next_server(next);
    } else {
      send_first(next);
    }
  }
}

void Client::finish(Request& request, const Reply* reply) {
  ++(reply != nullptr ? counters_.replies : counters_.unanswered);
  if (request.has_deadline) deadlines_.erase(request.deadline);
  const Done done = std::move(request.done);
  requests_.erase(request.self);
  done(reply);
}

void Client::set_deadline(Request& request, TimePoint at) {
  if (request.has_deadline) deadlines_.erase(request.deadline);
  request.deadline = deadlines_.emplace(std::min(at, request.last_deadline), &request);
  request.has_deadline = true;
  if (!armed_ || *armed_ > deadlines_.begin()->first) arm_timer();
}

void Client::arm_timer() {
  armed_ = deadlines_.begin()->first;
  timer_.set_once(*armed_ - kernel_now());
}

void Client::handle_deadlines() {
  timer_.acknowledge();
  armed_.reset();
  while (!deadlines_.empty() && deadlines_.begin()->first <= kernel_now())
    handle_deadline(*deadlines_.begin()->second);
  if (!deadlines_.empty()) arm_timer();
}

void Client::handle_deadline(Request& request) {
  if (request.is_waiting) {
    auto& waiting = request.endpoint->waiting;
    waiting.erase(std::ranges::find(waiting, &request));
    return finish(request, nullptr);
  }
  if (request.tries_left > 0 && kernel_now() < request.last_deadline) return resend(request);
  give_up_server(request);
}

void Client::receive(Endpoint& endpoint) {
  std::uint8_t datagram[max_packet_size];
  // At most this many before other descriptors have their turn.
  for (int n = 0; n < 64; ++n) {
    const ssize_t size = ::recv(endpoint.fd(), datagram, sizeof datagram, 0);
    if (size < 0 && errno == EAGAIN) return;
    if (size >= 0) {
      handle_datagram(endpoint, View(datagram).first(static_cast<std::size_t>(size)));
    } else {
      ++counters_.refused;  // only a hint: anybody can send an ICMP error
    }
  }
}

void Client::handle_datagram(Endpoint& endpoint, View datagram) {
  if (datagram.size() < 2) return count(Defect::malformed);
  Request* const request = endpoint.owner(datagram[1]);
  if (request == nullptr) {
    ++counters_.unexpected;
    return;
  }
  Reply reply{.request_authenticator = request->authenticator, .secret = endpoint.secret()};
  const bool is_access = request->code == Code::access_request;
  const Defect defect =
      decode_reply(datagram,
                   {.request = request->code,
                    .authenticator = request->authenticator,
                    .secret = endpoint.secret(),
                    .needs_message_authenticator = is_access && !settings_.allow_unsigned_replies},
                   reply.packet);
  if (defect != Defect::none) return count(defect);
  endpoint.avoided_until = {};
  release_identifier(*request);
  finish(*request, &reply);
}

void Client::count(Defect defect) {
  switch (defect) {
    case Defect::none:
      break;
    case Defect::malformed:
      ++counters_.malformed;
      break;
    case Defect::wrong_code:
      ++counters_.wrong_code;
      break;
    case Defect::wrong_authenticator:
      ++counters_.wrong_authenticator;
      break;
    case Defect::no_message_authenticator:
      ++counters_.no_message_authenticator;
      break;
    case Defect::wrong_message_authenticator:
      ++counters_.wrong_message_authenticator;
      break;
  }
}

}  // namespace aaa_sim::radius
