#include "client_table.h"

#include <algorithm>

namespace aaa_sim {

bool ClientTable::add(const ClientName& name, Role role, ConnectionId connection) {
  auto client = std::ranges::find(clients_, name, &Client::name);
  if (role == Role::event) {
    if (client == clients_.end() || client->request == 0) return false;
    client->event = connection;
    return true;
  }
  if (client == clients_.end()) client = clients_.insert(client, {name});
  client->request = connection;
  return true;
}

void ClientTable::remove(ConnectionId connection) {
  for (Client& client : clients_) {
    if (client.request == connection) client.request = 0;
    if (client.event == connection) client.event = 0;
  }
  std::erase_if(clients_, [](const Client& c) { return c.request == 0 && c.event == 0; });
}

bool ClientTable::contains(ConnectionId connection) const {
  return std::ranges::any_of(clients_, [=](const Client& client) {
    return client.request == connection || client.event == connection;
  });
}

ConnectionId ClientTable::find(const ClientName& name, Role role) const {
  const auto client = std::ranges::find(clients_, name, &Client::name);
  if (client == clients_.end()) return 0;
  return role == Role::request ? client->request : client->event;
}

std::vector<ClientName> ClientTable::complete() const {
  std::vector<ClientName> names;
  for (const Client& client : clients_)
    if (client.request != 0 && client.event != 0) names.push_back(client.name);
  return names;
}

}  // namespace aaa_sim
