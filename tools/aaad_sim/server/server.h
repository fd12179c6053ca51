// Accepts connections, registers clients, and has their requests answered.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "server/connections.h"
#include "server/event_loop.h"
#include "server/journal.h"
#include "server/listener.h"
#include "server/request.h"
#include "server/server_settings.h"
#include "server/timers.h"

namespace aaa_sim {

// On the loop's thread only, or while no thread runs the loop.
class Server {
 public:
  // Listens if the settings say so. The arguments must outlive it.
  Server(EventLoop& loop, std::string socket_path, const ServerSettings& settings, Journal& journal,
         RequestHandler handler);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // Call it when the settings have changed.
  void apply_settings();

  // Return to how many registered connections they sent.
  std::size_t send(const ClientName& client, Role role, const Frame& frame);
  std::size_t send_raw(const ClientName& client, Role role, View bytes);
  // Returns how many connections it closed, registered or not.
  std::size_t close_connections(const ClientName& client, Role role);

 private:
  void apply_listening();
  void apply_heartbeat();
  std::vector<ConnectionId> registered(const ClientName& client, Role role);

  void handle_frame(ConnectionId id, Frame frame, bool in_batch);
  void identify(ConnectionId id, const Frame& frame);
  const char* check_registration(ConnectionId id, const Frame& frame);
  void unpack(ConnectionId id, View batch);
  void handle_request(ConnectionId id, const Frame& frame);
  void clear_session(std::uint32_t session);
  void finish_request(ConnectionId id, const aaa_ipc_header& request, Fault fault, Replies replies);
  void send_replies(ConnectionId id, Fault fault, const Replies& replies);
  void close_with_note(ConnectionId id, const char* reason);

  EventLoop& loop_;
  const std::string socket_path_;
  const ServerSettings& settings_;
  Journal& journal_;
  const RequestHandler handler_;
  DelayedActions delayed_;
  Timer heartbeat_;
  std::chrono::milliseconds heartbeat_interval_{0};
  std::optional<Listener> listener_;
  Connections connections_;
  // Sessions whose clients wait for an answer, with the request's number.
  std::set<std::pair<std::uint32_t, std::uint64_t>> unanswered_;
  std::uint64_t last_request_ = 0;
};

}  // namespace aaa_sim
