// Result bodies: what the simulator says about a user.
#pragma once

#include "message.h"
#include "settings.h"

namespace aaa_sim {

// sub.num_a of a result in aaad-sim's convention; 2 is the client library's own, for a lost link.
enum class ResultCode : std::uint32_t { accept = 0, reject = 1, challenge = 3 };

// The result of an authentication request with this body, encoded. Known users are judged by
// password, and after a challenge by the State item that comes back; unknown ones are rejected.
Bytes judge(const std::vector<User>& users, std::uint32_t session_id, View request_body);

// An acceptance without attributes, of a user or of nobody in particular; encoded.
Bytes acceptance(std::uint32_t session_id, const std::string& user = {});

// A rejection; an empty message becomes "Access denied". Encoded.
Bytes rejection(std::uint32_t session_id, const std::string& message);

}  // namespace aaa_sim
