// Round trips with the result callback in several processes with one peer. --clients: how many.
#include "library/client.h"
#include "support/fast_peer.h"
#include "support/many_clients.h"
#include "support/registrar.h"
#include "support/server_process.h"

namespace {

void serve(const bench::Registrar& registrar, std::size_t clients) {
  std::vector<bench::FastPeer> peers;
  for (std::size_t i = 0; i < clients; i++) {
    const int request_socket = registrar.accept_request_socket();
    peers.emplace_back(request_socket, registrar.accept_event_socket(), bench::PeerSettings());
  }
  bench::serve_together(peers);
}

bench::ManyClients::Operation register_client(std::size_t) {
  bench::register_client(bench::CallbackRequests::registration());
  return [requests = bench::CallbackRequests(bench::usual_body)]() mutable {
    requests.send_and_wait();
  };
}

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(argc, argv, [](const bench::Options& options) {
    const std::size_t clients = options.number("clients", 1);
    const bench::Registrar registrar;
    bench::start_server([&] { serve(registrar, clients); });
    return std::make_unique<bench::ManyClients>(clients, register_client);
  });
}
