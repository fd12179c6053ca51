// Message headers, and the loops that receive bytes with a deadline. The sending loop is
// aaa_msg_send() in aaa_client.h.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "aaa_client.h"

namespace aaa {

inline constexpr std::uint32_t header_marker = 0x01010101;
inline constexpr std::uint32_t header_size = sizeof(aaa_ipc_header);
static_assert(header_size == 16);

// The socket loops count in signed 32-bit lengths.
inline constexpr std::uint32_t max_body_length = INT32_MAX - header_size;

// Errors after which a socket call is repeated.
inline bool is_temporary(int error) {
  return error == EINTR || error == EAGAIN;
}

// The next two functions receive with the deadline and results of aaa_msg_recv(). `received` is at
// any time the number of bytes at `buffer`, even if the thread is cancelled during the call.

// Receives until there are at least `least` bytes, and up to `most` when more have arrived.
// REQUIRES: received < least <= most.
std::int32_t receive_between(std::int32_t fd, void* buffer, std::size_t least, std::size_t most,
                             std::size_t& received);

// Exactly `length` bytes.
using ReceiveExactly = std::int32_t (*)(std::int32_t fd, void* buffer, std::size_t length,
                                        std::size_t& received);
std::int32_t receive_exactly(std::int32_t fd, void* buffer, std::size_t length,
                             std::size_t& received);

// Each counts a failed socket call; all but the last note the socket and the error.
void count_send_error(std::int32_t fd, int error);
void count_send_again(std::int32_t fd, int error);
void count_recv_failure(std::int32_t fd, int error);
void count_send_discard();

}  // namespace aaa
