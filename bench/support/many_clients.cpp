#include "support/many_clients.h"

#include <cstdint>

#include "support/server_process.h"
#include "support/sockets.h"

namespace bench {
namespace {

// Reports once when it is ready and then after every order.
void work(int control, const ManyClients::Operation& operation) {
  std::uint64_t operations = 0;
  do {
    for (; operations > 0; operations--)
      operation();
    send_all(control, &operations, sizeof operations);
  } while (receive_all(control, &operations, sizeof operations));
}

void wait_until_done(int control) {
  std::uint64_t done = 0;
  receive_all(control, &done, sizeof done);
}

}  // namespace

ManyClients::ManyClients(std::size_t clients, const MakeOperation& make) {
  for (std::size_t i = 0; i < clients; i++)
    add_client(make);
}

void ManyClients::add_client(const MakeOperation& make) {
  const SocketPair pair = make_pair(SOCK_STREAM);
  start_server([&] { work(pair.server, make(controls_.size())); });
  controls_.push_back(pair.client);
  wait_until_done(pair.client);
}

void ManyClients::run(std::size_t operations) {
  const std::uint64_t share = operations / controls_.size();
  for (const int control : controls_)
    send_all(control, &share, sizeof share);
  for (const int control : controls_)
    wait_until_done(control);
}

}  // namespace bench
