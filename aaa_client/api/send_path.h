// The way of all one-way requests to aaad: into the send buffer, or straight to the request socket.
#pragma once

#include <cstdint>

#include "aaa_client.h"

namespace aaa {

// Frames a body and queues or writes it. Returns 0 or an errno value. `log_fd` appears in the debug
// line only: the message always goes to the request socket.
std::uint32_t aaa_lib_send_ipc_msg(std::int32_t log_fd, std::uint32_t type, std::uint32_t id,
                                   const void* body, std::uint32_t body_length);

// The same with its arguments checked. Returns 0, 2 for bad arguments, 4 when sending failed.
std::int32_t aaalib_send_ipc_msg(std::uint32_t type, std::uint32_t id, const void* body,
                                 std::int32_t body_length);

// The same under aaa_lib_lock.
std::int32_t send_one_way(std::uint32_t type, std::uint32_t id, const void* body,
                          std::int32_t body_length);

}  // namespace aaa
