// Connecting to aaad and registering on both sockets, for registration and recovery in both modes.
#pragma once

#include <cstdint>

namespace aaa {

// Connects the sockets that are not connected and registers both. Returns 0 with reg_state 4, or -1
// with reg_state 2 (not connected) or 3 (not registered); the caller closes and retries.
std::int32_t aaalib_connect_and_register_to_aaad();

}  // namespace aaa
