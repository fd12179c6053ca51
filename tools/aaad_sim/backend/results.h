// Bodies of results of authentication and authorization.
#pragma once

#include "backend/settings.h"

namespace aaa_sim {

// The result of an authentication request with this body. Known users need the right password and,
// after a challenge, its State item; unknown users are rejected.
Bytes authentication_result(const std::vector<User>& users, std::uint32_t session_id,
                            View request_body);

// An acceptance without attributes.
Bytes acceptance(std::uint32_t session_id, const std::string& user = {});

// A rejection. An empty message becomes "Access denied".
Bytes rejection(std::uint32_t session_id, const std::string& message);

}  // namespace aaa_sim
