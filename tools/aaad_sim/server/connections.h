// The open connections, and which two belong to one client.
#pragma once

#include <functional>
#include <map>
#include <vector>

#include "server/connection.h"
#include "server/event_loop.h"
#include "server/journal.h"
#include "server/server_settings.h"

namespace aaa_sim {

// Every call that reads or writes may close connections. So callers keep ids, not pointers.
class Connections {
 public:
  using FrameHandler = std::function<void(ConnectionId, Frame)>;

  // The arguments must outlive it. `handler` is called with every complete frame.
  Connections(EventLoop& loop, const ServerSettings& settings, Journal& journal,
              FrameHandler handler);
  ~Connections();
  Connections(const Connections&) = delete;
  Connections& operator=(const Connections&) = delete;

  void add(FileDescriptor socket);
  Connection* find(ConnectionId id);
  void close(ConnectionId id);
  // Closes the connection once its output is written.
  void close_after_output(ConnectionId id);

  // Connections whose client matches; of both roles and of none with Role::none.
  std::vector<ConnectionId> select(const ClientName& client, Role role) const;

  // Registers a connection whose client and role are known, in place of an earlier one of the same
  // client and role. False for an event connection without a registered request connection.
  bool register_connection(ConnectionId id);
  // The client's registered connection of that role, or 0.
  ConnectionId find_registered(const ClientName& client, Role role) const;

  void send(ConnectionId id, const Frame& frame);
  void send_raw(ConnectionId id, View bytes);

  // Call it when the settings have changed.
  void watch_all();

 private:
  void watch(const Connection& connection);
  void on_ready(ConnectionId id, std::uint32_t events);
  void read(ConnectionId id);
  void handle_frames(ConnectionId id);
  void close_with_note(ConnectionId id, const char* reason);
  void capture(const Connection& connection, Direction direction, View bytes, const char* remark);
  void write(ConnectionId id);
  std::vector<ClientName> registered_clients() const;
  void publish();

  EventLoop& loop_;
  const ServerSettings& settings_;
  Journal& journal_;
  const FrameHandler handler_;
  std::map<ConnectionId, Connection> connections_;
  ConnectionId last_id_;
};

}  // namespace aaa_sim
