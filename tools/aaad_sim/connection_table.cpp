#include "connection_table.h"

#include <sys/epoll.h>

#include <limits>
#include <utility>

namespace aaa_sim {

ConnectionTable::ConnectionTable(EventLoop& loop, const Settings& settings, Journal& journal,
                                 MessageHandler handler)
    : loop_(loop),
      settings_(settings),
      journal_(journal),
      handler_(std::move(handler)),
      last_id_(journal.presence().accepted) {}

ConnectionTable::~ConnectionTable() {
  for (const ConnectionId id : select({}, Role::none))
    close(id);
}

void ConnectionTable::add(FileDescriptor socket) {
  const ConnectionId id = ++last_id_;
  const Connection& added = connections_.try_emplace(id, id, std::move(socket)).first->second;
  loop_.watch(added.fd(), EPOLLIN, [this, id](std::uint32_t events) { on_ready(id, events); });
  watch(added);
  publish();
}

Connection* ConnectionTable::find(ConnectionId id) {
  const auto found = connections_.find(id);
  return found == connections_.end() ? nullptr : &found->second;
}

void ConnectionTable::close(ConnectionId id) {
  const Connection* connection = find(id);
  if (connection == nullptr) return;
  loop_.forget(connection->fd());
  clients_.remove(id);
  connections_.erase(id);
  publish();
}

void ConnectionTable::finish(ConnectionId id) {
  Connection* connection = find(id);
  if (connection == nullptr) return;
  connection->set_closing();
  if (!connection->has_output()) close(id);
}

std::vector<ConnectionId> ConnectionTable::select(const ClientName& client, Role role) const {
  std::vector<ConnectionId> ids;
  for (const auto& [id, connection] : connections_) {
    if (role != Role::none && role != connection.role()) continue;
    if (matches(client, connection.client())) ids.push_back(id);
  }
  return ids;
}

bool ConnectionTable::enroll(ConnectionId id) {
  const Connection& connection = *find(id);
  clients_.remove(id);
  const bool enrolled = clients_.add(connection.client(), connection.role(), id);
  publish();
  return enrolled;
}

ConnectionId ConnectionTable::partner(const ClientName& client, Role role) const {
  return clients_.find(client, role);
}

void ConnectionTable::send(ConnectionId id, const Frame& frame) {
  Connection* connection = find(id);
  if (connection == nullptr) return;
  Bytes bytes = to_bytes(frame);
  connection->queue(bytes);
  journal_.record({.direction = Direction::sent,
                   .client = connection->client(),
                   .role = connection->role(),
                   .header = frame.header,
                   .bytes = std::move(bytes)});
  write(id);
}

void ConnectionTable::send_raw(ConnectionId id, View bytes) {
  Connection* connection = find(id);
  if (connection == nullptr) return;
  journal_.note(describe(*connection) + " raw, " + std::to_string(bytes.size()) + " bytes");
  connection->queue(bytes);
  write(id);
}

void ConnectionTable::watch_all() {
  for (const auto& [id, connection] : connections_)
    watch(connection);
}

void ConnectionTable::watch(const Connection& connection) {
  std::uint32_t events = 0;
  if (settings_.reading) events |= EPOLLIN;
  if (connection.has_output()) events |= EPOLLOUT;
  loop_.set_events(connection.fd(), events);
}

void ConnectionTable::on_ready(ConnectionId id, std::uint32_t events) {
  if ((events & EPOLLOUT) != 0) write(id);
  if ((events & EPOLLIN) != 0) {
    read(id);
  } else if ((events & (EPOLLHUP | EPOLLERR)) != 0) {
    close(id);
  }
}

void ConnectionTable::read(ConnectionId id) {
  Connection* connection = find(id);
  if (connection == nullptr) return;
  const bool open = connection->receive();
  take_messages(id);
  if (open) return;
  connection = find(id);
  if (connection == nullptr) return;
  if (connection->input().pending() == 0) return close(id);
  abandon(id, "closed inside a message");
}

void ConnectionTable::take_messages(ConnectionId id) {
  while (Connection* connection = find(id)) {
    Frame frame;
    switch (connection->input().next(frame)) {
      case FrameReader::Status::need_more:
        return;
      case FrameReader::Status::frame:
        handler_(id, std::move(frame));
        break;
      case FrameReader::Status::bad_marker:
        return abandon(id, "bad marker");
      case FrameReader::Status::bad_length:
        return abandon(id, "bad body length");
    }
  }
}

void ConnectionTable::abandon(ConnectionId id, const char* reason) {
  journal_.note(describe(*find(id)) + " " + reason);
  close(id);
}

void ConnectionTable::write(ConnectionId id) {
  Connection* connection = find(id);
  if (connection == nullptr || !connection->has_output()) return;
  const std::size_t limit = settings_.byte_wise ? 1 : std::numeric_limits<std::size_t>::max();
  const bool alive = connection->write(limit);
  const bool done = connection->closing() && !connection->has_output();
  if (!alive || done) return close(id);
  watch(*connection);
}

void ConnectionTable::publish() {
  journal_.set_presence(
      {static_cast<std::size_t>(last_id_), connections_.size(), clients_.complete()});
}

}  // namespace aaa_sim
