// The pair of datagram sockets that passes results to a waiting thread. aaa_lib_msg_socket_init()
// in aaa_client.h creates it.
#pragma once

#include <cstdint>

#include "aaa_client.h"

namespace aaa {

// 1 once the datagram pair is ready; never cleared.
extern std::uint8_t g_msg_socket_ok;

// Whether lib_msg_client_fd still has the number of a socket that the library has closed.
bool message_client_is_closed();

}  // namespace aaa
