// The client's four sockets: the request and event sockets to aaad, and the pair of datagram
// sockets that hands results to a waiting thread.
#pragma once

#include <cstdint>

#include "aaa_client.h"

namespace aaa {

// 1 once the datagram pair is ready; never cleared.
extern std::uint8_t g_msg_socket_ok;

// Makes the datagram pair, once per process. Returns 0 or -1. REQUIRES: aaa_lib_lock held.
std::int32_t aaa_lib_msg_socket_init();

// Connects a stream socket to aaad from a local name that starts with `prefix`. Returns the
// descriptor or -1; no socket file stays behind.
std::int32_t aaa_lib_client_connect(const char* prefix);

// Opens whichever of the request and event sockets is not open. Returns 0 or -1.
std::int32_t aaa_lib_client_connect_all();

// Closes both. Returns 0, or -1 when a close failed. A thread that is writing to one of them or
// reading a message from it gets an error at once and is waited for.
std::int32_t aaa_lib_client_close();

// Closes one of them, given as its field in the connection record. Returns the error of the close,
// and -1 stays out of the field, only when the descriptor may still be open.
int close_link_socket(std::int32_t& socket);

// Whether an errno value means that the connection to aaad is lost.
bool aaa_lib_is_conn_broken_err(std::int32_t error);

}  // namespace aaa
