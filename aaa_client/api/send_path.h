// The way of all one-way requests to aaad: into the send buffer, or straight to the request socket.
#pragma once

#include <cstdint>

#include "aaa_client.h"

namespace aaa {

// aaalib_send_ipc_msg() under aaa_lib_lock.
std::int32_t send_one_way(std::uint32_t type, std::uint32_t id, const void* body,
                          std::int32_t body_length);

}  // namespace aaa
