// Connecting to aaad and registering on both sockets: the step that registration, the receive
// thread after a loss, and agent mode share.
#pragma once

#include <cstdint>

namespace aaa {

// Connects what is not connected and registers both sockets. Returns 0 with reg_state 4, or -1 with
// reg_state 2 (not connected) or 3 (not registered); closing and trying again is the caller's.
std::int32_t aaalib_connect_and_register_to_aaad();

}  // namespace aaa
