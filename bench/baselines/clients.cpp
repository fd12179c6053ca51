// The round trips of two_sockets_callback in several processes with one peer. --clients: how many.
#include <vector>

#include "baselines/two_sockets.h"
#include "support/many_clients.h"
#include "support/server_process.h"

namespace {

constexpr std::size_t reads = 2;

struct Connections {
  std::vector<bench::TwoSockets> of_clients;
  std::vector<bench::FastPeer> of_peer;
};

Connections connect(std::size_t clients) {
  Connections connections;
  for (std::size_t i = 0; i < clients; i++) {
    const bench::SocketPair requests = bench::make_pair(SOCK_STREAM);
    const bench::SocketPair events = bench::make_pair(SOCK_STREAM);
    connections.of_clients.push_back({requests.client, events.client});
    connections.of_peer.emplace_back(requests.server, events.server, bench::PeerSettings());
  }
  return connections;
}

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(argc, argv, [](const bench::Options& options) {
    const std::size_t clients = options.number("clients", 1);
    Connections connections = connect(clients);
    bench::start_server([&] { bench::serve_together(connections.of_peer); });
    return std::make_unique<bench::ManyClients>(clients, [&](std::size_t client) {
      const auto requests = std::make_shared<bench::RawCallbackRequests>(
          connections.of_clients[client], bench::usual_body, reads);
      return [requests] { requests->send_and_wait(); };
    });
  });
}
