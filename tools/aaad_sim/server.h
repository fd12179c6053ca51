// The running simulator: takes connections in, and answers what comes on them.
#pragma once

#include <optional>
#include <string>

#include "answers.h"
#include "connection_table.h"
#include "event_loop.h"
#include "journal.h"
#include "listener.h"
#include "settings.h"
#include "timers.h"
#include "world.h"

namespace aaa_sim {

// post() is for any thread; all else is for the thread in run(), or for when there is none.
class Server {
 public:
  // Listens, if the settings say so. What `world` refers to, and `journal`, must outlive it.
  Server(std::string socket_path, World world, Journal& journal);
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  void post(EventLoop::Task task) { loop_.post(std::move(task)); }
  void run() { loop_.run(); }
  void quit() { loop_.quit(); }

  // Puts changed settings into force.
  void apply_settings();

  // Each returns the number of connections it concerned; those that send leave out connections
  // that have not registered.
  std::size_t send(const ClientName& client, Role role, const Frame& frame);
  std::size_t send_raw(const ClientName& client, Role role, View bytes);
  std::size_t close_connections(const ClientName& client, Role role);

 private:
  void apply_listening();
  void apply_heartbeat();
  std::vector<ConnectionId> registered(const ClientName& client, Role role);

  void take(ConnectionId id, Frame frame, bool in_batch);
  const char* objection(ConnectionId id, const Frame& frame);
  void identify(ConnectionId id, const Frame& frame);
  void unpack(ConnectionId id, View batch);
  void respond(ConnectionId id, const Frame& frame);
  Replies answer_to(const Connection& asker, const Frame& frame);
  void deliver(ConnectionId asker, const Outcome& outcome);
  void refuse(ConnectionId id, const char* reason);

  const std::string socket_path_;
  World world_;
  const Settings& settings_;
  Journal& journal_;
  EventLoop loop_;
  DelayedActions delayed_;
  Timer heartbeat_;
  std::chrono::milliseconds heartbeat_interval_{0};
  std::optional<Listener> listener_;
  ConnectionTable connections_;
};

}  // namespace aaa_sim
