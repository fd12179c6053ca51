// Reads users from a TOML file:
//
//   [[user]]
//   name = "alice"                 # at most 64 bytes
//   password = "secret"
//   result = "challenge"           # or "accept" (the default), "reject"
//   reply_message = "One more"
//   state = "step-2"               # required for a challenge
//   eap_message = "..."
//   class = "staff"
//   session_timeout = 3600         # seconds
#pragma once

#include <string>
#include <vector>

#include "backend/settings.h"

namespace aaa_sim {

// Throws std::runtime_error with one line, "path:line: error".
std::vector<User> load_users(const std::string& path);

}  // namespace aaa_sim
