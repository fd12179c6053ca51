// The open connections: reading messages from them, writing messages to them.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "client_table.h"
#include "connection.h"
#include "event_loop.h"
#include "journal.h"
#include "settings.h"

namespace aaa_sim {

// Connections may be closed by any call that reads or writes, so callers hold ids, and look the
// connection up again.
class ConnectionTable {
 public:
  using MessageHandler = std::function<void(ConnectionId, Frame)>;

  // All must outlive it. `handler` is called with each message that has come completely.
  ConnectionTable(EventLoop& loop, const Settings& settings, Journal& journal,
                  MessageHandler handler);
  ~ConnectionTable();
  ConnectionTable(const ConnectionTable&) = delete;
  ConnectionTable& operator=(const ConnectionTable&) = delete;

  void add(FileDescriptor socket);
  Connection* find(ConnectionId id);
  void close(ConnectionId id);
  // Closes once the output is written.
  void finish(ConnectionId id);

  // Connections whose client matches; of any role when it is none.
  std::vector<ConnectionId> select(const ClientName& client, Role role) const;

  // Pairs a connection that is identified with the other one of its client. False when it must
  // not be first.
  bool enroll(ConnectionId id);
  bool is_enrolled(ConnectionId id) const { return clients_.contains(id); }
  // The client's connection of that role, or 0.
  ConnectionId partner(const ClientName& client, Role role) const;

  void send(ConnectionId id, const Frame& frame);
  void send_raw(ConnectionId id, View bytes);

  // Takes up what has changed in the settings.
  void watch_all();

 private:
  void watch(const Connection& connection);
  void on_ready(ConnectionId id, std::uint32_t events);
  void read(ConnectionId id);
  void take_messages(ConnectionId id);
  void abandon(ConnectionId id, const char* reason);
  void write(ConnectionId id);
  void publish();

  EventLoop& loop_;
  const Settings& settings_;
  Journal& journal_;
  const MessageHandler handler_;
  std::map<ConnectionId, Connection> connections_;
  ClientTable clients_;
  ConnectionId last_id_;
};

}  // namespace aaa_sim
