#include "server/connections.h"

#include <sys/epoll.h>

#include <limits>
#include <utility>

namespace aaa_sim {

Connections::Connections(EventLoop& loop, const ServerSettings& settings, Journal& journal,
                         FrameHandler handler)
    : loop_(loop),
      settings_(settings),
      journal_(journal),
      handler_(std::move(handler)),
      last_id_(journal.connected().accepted) {}

Connections::~Connections() {
  for (const ConnectionId id : select({}, Role::none))
    close(id);
}

void Connections::add(FileDescriptor socket) {
  const ConnectionId id = ++last_id_;
  const Connection& added = connections_.try_emplace(id, id, std::move(socket)).first->second;
  loop_.watch(added.fd(), EPOLLIN, [this, id](std::uint32_t events) { on_ready(id, events); });
  watch(added);
  publish();
}

Connection* Connections::find(ConnectionId id) {
  const auto found = connections_.find(id);
  return found == connections_.end() ? nullptr : &found->second;
}

void Connections::close(ConnectionId id) {
  const Connection* connection = find(id);
  if (connection == nullptr) return;
  loop_.forget(connection->fd());
  connections_.erase(id);
  publish();
}

void Connections::close_after_output(ConnectionId id) {
  Connection* connection = find(id);
  if (connection == nullptr) return;
  connection->set_closing();
  if (!connection->has_output()) close(id);
}

std::vector<ConnectionId> Connections::select(const ClientName& client, Role role) const {
  std::vector<ConnectionId> ids;
  for (const auto& [id, connection] : connections_) {
    if (role != Role::none && role != connection.role()) continue;
    if (matches(client, connection.client())) ids.push_back(id);
  }
  return ids;
}

bool Connections::register_connection(ConnectionId id) {
  Connection& connection = *find(id);
  connection.set_registered(false);
  const bool event_first =
      connection.role() == Role::event && find_registered(connection.client(), Role::request) == 0;
  if (!event_first) {
    if (Connection* earlier = find(find_registered(connection.client(), connection.role())))
      earlier->set_registered(false);
    connection.set_registered(true);
  }
  publish();
  return !event_first;
}

ConnectionId Connections::find_registered(const ClientName& client, Role role) const {
  for (const auto& [id, connection] : connections_) {
    if (connection.is_registered() && connection.role() == role && connection.client() == client)
      return id;
  }
  return 0;
}

void Connections::send(ConnectionId id, const Frame& frame) {
  Connection* connection = find(id);
  if (connection == nullptr) return;
  Bytes bytes = to_bytes(frame);
  connection->queue(bytes);
  journal_.record({.direction = Direction::sent,
                   .connection = id,
                   .client = connection->client(),
                   .role = connection->role(),
                   .header = frame.header,
                   .bytes = std::move(bytes)});
  write(id);
}

void Connections::send_raw(ConnectionId id, View bytes) {
  Connection* connection = find(id);
  if (connection == nullptr) return;
  journal_.note(describe(*connection) + " raw, " + std::to_string(bytes.size()) + " bytes");
  capture(*connection, Direction::sent, bytes, "raw bytes");
  connection->queue(bytes);
  write(id);
}

void Connections::watch_all() {
  for (const auto& [id, connection] : connections_)
    watch(connection);
}

void Connections::watch(const Connection& connection) {
  std::uint32_t events = 0;
  if (settings_.reading) events |= EPOLLIN;
  if (connection.has_output()) events |= EPOLLOUT;
  loop_.set_events(connection.fd(), events);
}

void Connections::on_ready(ConnectionId id, std::uint32_t events) {
  if ((events & EPOLLOUT) != 0) write(id);
  if ((events & EPOLLIN) != 0) {
    read(id);
  } else if ((events & (EPOLLHUP | EPOLLERR)) != 0) {
    close(id);
  }
}

void Connections::read(ConnectionId id) {
  Connection* connection = find(id);
  if (connection == nullptr) return;
  const bool open = connection->receive();
  handle_frames(id);
  if (open) return;
  connection = find(id);
  if (connection == nullptr) return;
  if (connection->input().pending() == 0) return close(id);
  close_with_note(id, "closed inside a message");
}

void Connections::handle_frames(ConnectionId id) {
  while (Connection* connection = find(id)) {
    Frame frame;
    switch (connection->input().next(frame)) {
      case FrameReader::Status::need_more:
        return;
      case FrameReader::Status::frame:
        handler_(id, std::move(frame));
        break;
      case FrameReader::Status::bad_marker:
        return close_with_note(id, "bad marker");
      case FrameReader::Status::bad_length:
        return close_with_note(id, "bad body length");
    }
  }
}

void Connections::close_with_note(ConnectionId id, const char* reason) {
  const Connection& connection = *find(id);
  journal_.note(describe(connection) + " " + reason);
  const View rest = connection.input().rest();
  if (!rest.empty()) capture(connection, Direction::received, rest, reason);
  close(id);
}

// What is no message.
void Connections::capture(const Connection& connection, Direction direction, View bytes,
                          const char* remark) {
  journal_.capture({.direction = direction,
                    .connection = connection.id(),
                    .client = connection.client(),
                    .role = connection.role(),
                    .bytes = Bytes(bytes.begin(), bytes.end())},
                   remark);
}

void Connections::write(ConnectionId id) {
  Connection* connection = find(id);
  if (connection == nullptr || !connection->has_output()) return;
  const std::size_t limit = settings_.byte_wise ? 1 : std::numeric_limits<std::size_t>::max();
  const bool alive = connection->write(limit);
  const bool done = connection->closing() && !connection->has_output();
  if (!alive || done) return close(id);
  watch(*connection);
}

std::vector<ClientName> Connections::registered_clients() const {
  std::vector<ClientName> clients;
  for (const auto& [id, connection] : connections_) {
    if (connection.is_registered() && connection.role() == Role::request &&
        find_registered(connection.client(), Role::event) != 0)
      clients.push_back(connection.client());
  }
  return clients;
}

void Connections::publish() {
  journal_.set_connected(
      {static_cast<std::size_t>(last_id_), connections_.size(), registered_clients()});
}

}  // namespace aaa_sim
