// The RADIUS servers, and how they are asked.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace aaa_sim::radius {

struct ServerAddress {
  std::string host = {};  // an address or a name
  std::uint16_t authentication_port = 1812;
  std::uint16_t accounting_port = 1813;
  std::string secret = {};
};

// Where Disconnect-Requests and CoA-Requests arrive.
struct DynamicAuthorizationSettings {
  std::string address = "127.0.0.1";
  std::uint16_t port = 0;  // 0: nowhere
  std::string secret = {};
  std::chrono::milliseconds repetition{30000};  // in which an equal request is a repeated one
};

struct Settings {
  std::vector<ServerAddress> servers =
      {};                      // in the order in which they are tried; empty: no RADIUS
  bool authentication = true;  // false: the simulator decides itself
  bool accounting = true;
  std::chrono::milliseconds timeout{1000};  // of one try
  unsigned tries = 3;                       // of each server
  std::chrono::milliseconds pause{30000};   // before a server that stayed silent is preferred again
  std::string nas_identifier = "aaad-sim";
  // Accepts replies to Access-Requests without a Message-Authenticator, which anybody between the
  // server and this process can forge.
  bool allow_unsigned_replies = false;
  DynamicAuthorizationSettings dynamic_authorization = {};
};

}  // namespace aaa_sim::radius
