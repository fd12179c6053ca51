#include "server.h"

#include <sys/epoll.h>

#include <stdexcept>
#include <utility>

#include "remembered.h"

namespace aaa_sim {
namespace {

// The session whose client waits for the answer, or 0.
std::uint32_t awaited_session(const aaa_ipc_header& header) {
  const bool waits = header.type == AAA_MSG_AUTHEN_REQ || header.type == AAA_MSG_AUTHOR_REQ ||
                     header.type == AAA_MSG_ACCT_REQ;
  return waits ? header.id : 0;
}

}  // namespace

Server::Server(std::string socket_path, World world, Journal& journal)
    : socket_path_(std::move(socket_path)),
      world_(world),
      settings_(world.settings),
      journal_(journal),
      connections_(loop_, settings_, journal,
                   [this](ConnectionId id, Frame frame) { take(id, std::move(frame), false); }) {
  loop_.watch(delayed_.fd(), EPOLLIN, [this](std::uint32_t) { delayed_.run_due(); });
  loop_.watch(heartbeat_.fd(), EPOLLIN, [this](std::uint32_t) {
    heartbeat_.acknowledge();
    send({}, Role::event, make_frame(AAA_MSG_HEARTBEAT, 0, {}));
  });
  apply_settings();
}

void Server::apply_settings() {
  apply_listening();
  apply_heartbeat();
  connections_.watch_all();
}

void Server::apply_listening() {
  if (settings_.listening == listener_.has_value()) return;
  if (settings_.listening) {
    listener_.emplace(socket_path_);
    loop_.watch(listener_->fd(), EPOLLIN, [this](std::uint32_t) {
      FileDescriptor socket = listener_->accept();
      if (socket.is_open()) connections_.add(std::move(socket));
    });
  } else {
    loop_.forget(listener_->fd());
    listener_.reset();
  }
}

void Server::apply_heartbeat() {
  if (heartbeat_interval_ == settings_.heartbeat_interval) return;
  heartbeat_interval_ = settings_.heartbeat_interval;
  heartbeat_.set_every(heartbeat_interval_);
}

std::size_t Server::send(const ClientName& client, Role role, const Frame& frame) {
  const auto targets = registered(client, role);
  for (const ConnectionId id : targets)
    connections_.send(id, frame);
  return targets.size();
}

std::size_t Server::send_raw(const ClientName& client, Role role, View bytes) {
  const auto targets = registered(client, role);
  for (const ConnectionId id : targets)
    connections_.send_raw(id, bytes);
  return targets.size();
}

std::size_t Server::close_connections(const ClientName& client, Role role) {
  const auto targets = connections_.select(client, role);
  for (const ConnectionId id : targets)
    connections_.close(id);
  return targets.size();
}

std::vector<ConnectionId> Server::registered(const ClientName& client, Role role) {
  auto ids = connections_.select(client, role);
  std::erase_if(ids, [this](ConnectionId id) { return !connections_.is_enrolled(id); });
  return ids;
}

void Server::take(ConnectionId id, Frame frame, bool in_batch) {
  if (connections_.find(id) == nullptr) return;
  if (frame.header.type == AAA_MSG_REGISTER_REQ) identify(id, frame);
  const Connection& connection = *connections_.find(id);
  journal_.record({.client = connection.client(),
                   .role = connection.role(),
                   .in_batch = in_batch,
                   .header = frame.header,
                   .bytes = to_bytes(frame)});
  if (const char* reason = objection(id, frame)) return refuse(id, reason);
  if (frame.header.type == AAA_MSG_PAD_PKT && !in_batch) return unpack(id, frame.body);
  respond(id, frame);
}

void Server::identify(ConnectionId id, const Frame& frame) {
  Registration registration = parse_registration(frame.body);
  connections_.find(id)->identify(std::move(registration.model), registration.role);
}

// Why the message must not be answered, or null. Register requests come first, on the request
// connection before the event connection; a client that is refused is answered, not registered.
const char* Server::objection(ConnectionId id, const Frame& frame) {
  const Role role = connections_.find(id)->role();
  if (frame.header.type != AAA_MSG_REGISTER_REQ)
    return connections_.is_enrolled(id) ? nullptr : "not registered";
  if (role == Role::none) return "broken register request";
  if (role == Role::request && settings_.aaa_id == kRefused) return nullptr;
  return connections_.enroll(id) ? nullptr : "event connection registered first";
}

void Server::unpack(ConnectionId id, View batch) {
  FrameReader reader;
  reader.append(batch);
  Frame frame;
  while (reader.next(frame) == FrameReader::Status::frame)
    take(id, std::move(frame), true);
  if (reader.pending() != 0 && connections_.find(id) != nullptr) refuse(id, "broken batch");
}

void Server::respond(ConnectionId id, const Frame& frame) {
  if (settings_.silent) return;
  const Connection& connection = *connections_.find(id);
  const auto fault = settings_.faults.find({connection.role(), frame.header.type});
  const Outcome outcome = spoil(fault == settings_.faults.end() ? Fault::none : fault->second,
                                answer_to(connection, frame));
  if (settings_.delay.count() == 0) return deliver(id, outcome);
  delayed_.add(settings_.delay, awaited_session(frame.header),
               [this, id, outcome] { deliver(id, outcome); });
}

// A body that cannot be read gets a remark and no answer.
Replies Server::answer_to(const Connection& asker, const Frame& frame) {
  try {
    Replies replies = answer(world_, {asker.client(), asker.role(), frame.header, frame.body});
    if (frame.header.type == AAA_MSG_CLEAR_USER) delayed_.drop(cleared_session(frame.body));
    return replies;
  } catch (const std::runtime_error& error) {
    journal_.note(describe(asker) + " message " + std::to_string(frame.header.type) + ": " +
                  error.what());
    return {};
  }
}

void Server::deliver(ConnectionId asker, const Outcome& outcome) {
  for (const Reply& reply : outcome.replies) {
    const Connection* connection = connections_.find(asker);
    if (connection == nullptr) return;
    const ConnectionId target = reply.role == connection->role()
                                    ? asker
                                    : connections_.partner(connection->client(), reply.role);
    if (target == 0)
      journal_.note(describe(*connection) + " has no connection for the answer");
    else
      connections_.send(target, make_frame(reply.type, reply.id, reply.body));
  }
  if (outcome.close) connections_.finish(asker);
}

void Server::refuse(ConnectionId id, const char* reason) {
  journal_.note(describe(*connections_.find(id)) + " " + reason);
  connections_.close(id);
}

}  // namespace aaa_sim
