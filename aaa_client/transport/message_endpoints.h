// The client's four sockets: the request and event sockets to aaad, and the pair of datagram
// sockets that hands results to a waiting thread. What makes and closes them is declared in
// aaa_client.h.
#pragma once

#include <cstdint>

#include "aaa_client.h"

namespace aaa {

// 1 once the datagram pair is ready; never cleared.
extern std::uint8_t g_msg_socket_ok;

// Whether lib_msg_client_fd holds the number of a socket that the library has closed.
bool message_client_is_closed();

}  // namespace aaa
