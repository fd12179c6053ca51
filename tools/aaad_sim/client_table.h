// Which two connections belong to one client.
#pragma once

#include <vector>

#include "connection.h"

namespace aaa_sim {

class ClientTable {
 public:
  // False for an event connection whose client has not registered its request connection: that
  // one comes first.
  bool add(const ClientName& name, Role role, ConnectionId connection);
  // Connections of no client are ignored.
  void remove(ConnectionId connection);

  bool contains(ConnectionId connection) const;
  // 0 when the client has no such connection.
  ConnectionId find(const ClientName& name, Role role) const;

  // Clients with both connections.
  std::vector<ClientName> complete() const;

 private:
  struct Client {
    ClientName name;
    ConnectionId request = 0;
    ConnectionId event = 0;
  };

  std::vector<Client> clients_;
};

}  // namespace aaa_sim
