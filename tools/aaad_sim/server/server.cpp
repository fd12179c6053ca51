#include "server/server.h"

#include <sys/epoll.h>

#include <stdexcept>
#include <utility>

#include "wire/body.h"
#include "wire/registration.h"

namespace aaa_sim {
namespace {

std::uint32_t wrong_type(std::uint32_t right) {
  return right == AAA_MSG_NOTIFY_RESULT ? AAA_MSG_DEREGISTER_RESP : AAA_MSG_NOTIFY_RESULT;
}

Replies with_fault(Fault fault, Replies replies) {
  if (fault == Fault::silent || fault == Fault::close) return {};
  for (Reply& reply : replies) {
    if (fault == Fault::wrong_type) reply.type = wrong_type(reply.type);
    if (fault == Fault::empty_body) reply.body.clear();
    if (fault == Fault::short_body) reply.body.resize(reply.body.size() / 2);
  }
  return replies;
}

bool closes(Fault fault) {
  return fault == Fault::close || fault == Fault::close_after;
}

// The session of a request whose client may wait for the answer, or 0.
std::uint32_t session_of(const aaa_ipc_header& request) {
  const bool has_result = request.type == AAA_MSG_AUTHEN_REQ ||
                          request.type == AAA_MSG_AUTHOR_REQ || request.type == AAA_MSG_ACCT_REQ;
  return has_result ? request.id : 0;
}

}  // namespace

Server::Server(EventLoop& loop, std::string socket_path, const ServerSettings& settings,
               Journal& journal, RequestHandler handler)
    : loop_(loop),
      socket_path_(std::move(socket_path)),
      settings_(settings),
      journal_(journal),
      handler_(std::move(handler)),
      connections_(loop, settings, journal, [this](ConnectionId id, Frame frame) {
        handle_frame(id, std::move(frame), false);
      }) {
  apply_settings();
  loop_.watch(delayed_.fd(), EPOLLIN, [this](std::uint32_t) { delayed_.run_due(); });
  loop_.watch(heartbeat_.fd(), EPOLLIN, [this](std::uint32_t) {
    heartbeat_.acknowledge();
    send({}, Role::event, make_frame(AAA_MSG_HEARTBEAT, 0, {}));
  });
}

Server::~Server() {
  if (listener_) loop_.forget(listener_->fd());
  loop_.forget(heartbeat_.fd());
  loop_.forget(delayed_.fd());
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
  std::size_t count = 0;
  for (const ConnectionId id : registered(client, role)) {
    connections_.send(id, frame);
    if (connections_.find(id) != nullptr) ++count;  // else its client has gone
  }
  return count;
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
  std::erase_if(ids, [this](ConnectionId id) { return !connections_.find(id)->is_registered(); });
  return ids;
}

void Server::handle_frame(ConnectionId id, Frame frame, bool in_batch) {
  if (connections_.find(id) == nullptr) return;
  if (frame.header.type == AAA_MSG_REGISTER_REQ) identify(id, frame);
  const Connection& connection = *connections_.find(id);
  journal_.record({.connection = id,
                   .client = connection.client(),
                   .role = connection.role(),
                   .in_batch = in_batch,
                   .header = frame.header,
                   .bytes = to_bytes(frame)});
  if (const char* error = check_registration(id, frame)) return close_with_note(id, error);
  if (frame.header.type == AAA_MSG_PAD_PKT && !in_batch) return unpack(id, frame.body);
  handle_request(id, frame);
}

void Server::identify(ConnectionId id, const Frame& frame) {
  Registration registration = parse_registration(frame.body);
  connections_.find(id)->identify(std::move(registration.model), registration.role);
}

// Null, or why the connection is to be closed: the first message must be a register request, and
// the request connection must register before the event connection. A client with the refused id
// gets its answer but is not registered.
const char* Server::check_registration(ConnectionId id, const Frame& frame) {
  const Connection& connection = *connections_.find(id);
  if (frame.header.type != AAA_MSG_REGISTER_REQ)
    return connection.is_registered() ? nullptr : "not registered";
  if (connection.role() == Role::none) return "broken register request";
  if (connection.role() == Role::request && settings_.aaa_id == kRefused) return nullptr;
  return connections_.register_connection(id) ? nullptr : "event connection registered first";
}

void Server::unpack(ConnectionId id, View batch) {
  FrameReader reader;
  reader.append(batch);
  Frame frame;
  while (reader.next(frame) == FrameReader::Status::frame)
    handle_frame(id, std::move(frame), true);
  if (reader.pending() != 0 && connections_.find(id) != nullptr)
    close_with_note(id, "broken batch");
}

void Server::handle_request(ConnectionId id, const Frame& frame) {
  if (settings_.silent) return;
  const Connection& asker = *connections_.find(id);
  const auto found = settings_.faults.find({asker.role(), frame.header.type});
  const Fault fault = found == settings_.faults.end() ? Fault::none : found->second;
  const std::pair key(session_of(frame.header), ++last_request_);
  unanswered_.insert(key);
  const Respond respond = [this, id, request = frame.header, fault, key](Replies replies) {
    if (unanswered_.erase(key) != 0) finish_request(id, request, fault, std::move(replies));
  };
  try {
    handler_({asker.client(), asker.role(), frame.header, frame.body}, respond);
  } catch (const std::runtime_error& error) {
    journal_.note(describe(asker) + " message " + std::to_string(frame.header.type) + ": " +
                  error.what());
    respond({});
  }
  if (frame.header.type == AAA_MSG_CLEAR_USER && frame.body.size() >= sizeof(std::uint32_t))
    clear_session(BodyReader(frame.body).network_word());
}

// Nobody waits for its answers any more.
void Server::clear_session(std::uint32_t session) {
  delayed_.drop(session);
  if (session != 0)
    std::erase_if(unanswered_, [=](const auto& entry) { return entry.first == session; });
}

void Server::finish_request(ConnectionId id, const aaa_ipc_header& request, Fault fault,
                            Replies replies) {
  replies = with_fault(fault, std::move(replies));
  if (settings_.delay.count() == 0) return send_replies(id, fault, replies);
  delayed_.add(settings_.delay, session_of(request),
               [this, id, fault, late = std::move(replies)] { send_replies(id, fault, late); });
}

void Server::send_replies(ConnectionId id, Fault fault, const Replies& replies) {
  for (const Reply& reply : replies) {
    const Connection* asker = connections_.find(id);
    if (asker == nullptr) return;
    const ConnectionId target = reply.role == asker->role()
                                    ? id
                                    : connections_.find_registered(asker->client(), reply.role);
    if (target == 0)
      journal_.note(describe(*asker) + " has no connection for the answer");
    else
      connections_.send(target, make_frame(reply.type, reply.id, reply.body));
  }
  if (closes(fault)) connections_.close_after_output(id);
}

void Server::close_with_note(ConnectionId id, const char* reason) {
  journal_.note(describe(*connections_.find(id)) + " " + reason);
  connections_.close(id);
}

}  // namespace aaa_sim
