#include "support/many_clients.h"

#include <cstdint>

#include "support/server_process.h"
#include "support/sockets.h"

namespace bench {
namespace {

// Says that it is ready, and then each time that it has done what it was asked for.
void work(int orders, const ManyClients::Operation& operation) {
  std::uint64_t operations = 0;
  do {
    for (; operations > 0; operations--)
      operation();
    send_all(orders, &operations, sizeof operations);
  } while (receive_all(orders, &operations, sizeof operations));
}

void wait_until_done(int orders) {
  std::uint64_t done = 0;
  receive_all(orders, &done, sizeof done);
}

}  // namespace

ManyClients::ManyClients(std::size_t clients, const MakeOperation& make) {
  for (std::size_t i = 0; i < clients; i++)
    add_client(make);
}

void ManyClients::add_client(const MakeOperation& make) {
  const SocketPair pair = make_pair(SOCK_STREAM);
  start_server([&] { work(pair.server, make(orders_.size())); });
  orders_.push_back(pair.client);
  wait_until_done(pair.client);
}

void ManyClients::run(std::size_t operations) {
  const std::uint64_t share = operations / orders_.size();
  for (const int orders : orders_)
    send_all(orders, &share, sizeof share);
  for (const int orders : orders_)
    wait_until_done(orders);
}

}  // namespace bench
