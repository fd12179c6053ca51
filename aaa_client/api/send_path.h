// The way of all one-way requests to aaad: into the send buffer, or straight to the request socket.
#pragma once

#include <cerrno>
#include <cstdint>

#include "aaa_client.h"
#include "api/request_body.h"

namespace aaa {

// aaalib_send_ipc_msg() under aaa_lib_lock.
std::int32_t send_one_way(std::uint32_t type, std::uint32_t id, const void* body,
                          std::int32_t body_length);

// Sends a body without taking aaa_lib_lock. Returns 0 or an errno value.
// REQUIRES: the body has memory.
std::uint32_t send_body(std::uint32_t type, std::uint32_t id, const RequestBody& body);

// Sends an encoded record under aaa_lib_lock. Returns 0, a negative errno value, or `no_memory`
// when the record could not be encoded. Failures are logged in the name of `function`.
std::int32_t send_record(const char* function, std::uint32_t type, std::uint32_t id,
                         const RequestBody& record, std::int32_t no_memory = -ENOMEM);

}  // namespace aaa
