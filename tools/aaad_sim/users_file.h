// Users read from a file:
//
//   [[user]]
//   name = "alice"                 # at most 64 bytes
//   password = "secret"
//   result = "challenge"           # or "accept" (what it is without this line), "reject"
//   reply_message = "One more"
//   state = "step-2"               # needed for a challenge
//   eap_message = "..."
//   class = "staff"
//   session_timeout = 3600         # seconds
#pragma once

#include <string>
#include <vector>

#include "users.h"

namespace aaa_sim {

// Throws std::runtime_error with one line, "path:line: what is wrong".
std::vector<User> load_users(const std::string& path);

}  // namespace aaa_sim
