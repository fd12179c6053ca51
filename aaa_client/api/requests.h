// Requests shaped like authentication and authorization, under message types of the caller's.
#pragma once

#include <cstdint>

#include "aaa_client.h"

namespace aaa {

// 0; -EINVAL for session id 0 when `type` is the record's own request type; -ENOMEM; or the negated
// error of the send.
std::int32_t aaa_user_req_authen_sub(authen_info* authen, std::uint32_t type);
std::int32_t aaa_user_req_author_sub(author_info* author, std::uint32_t type);

}  // namespace aaa
