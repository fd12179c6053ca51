// Reads the settings of the RADIUS client from a TOML file:
//
//   nas_identifier = "switch-1"                      # default "aaad-sim"
//   requests = ["authentication", "accounting"]      # which go to the servers; default both
//   timeout = 1000                                   # of one try, in milliseconds
//   tries = 3                                        # of each server
//   pause = 30                                       # seconds until a silent server is tried first
//   allow_unsigned_replies = false                   # without Message-Authenticator
//
//   [[server]]                                       # in the order in which they are tried
//   address = "192.0.2.1"                            # or an IPv6 address or a name
//   authentication_port = 1812
//   accounting_port = 1813
//   secret = "shared secret"
//
//   [dynamic_authorization]                          # RFC 5176; default: no port
//   address = "127.0.0.1"                            # of this machine, to listen on
//   port = 3799
//   secret = "shared secret"
#pragma once

#include <string>

#include "radius/settings.h"

namespace aaa_sim {

// Throws std::runtime_error with one line, "path:line: error".
radius::Settings load_radius(const std::string& path);

}  // namespace aaa_sim
