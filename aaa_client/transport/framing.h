// Framed messages: a 16-byte header and a body, as one block in memory and on the sockets to aaad.
#pragma once

#include <cstddef>
#include <cstdint>

#include "aaa_client.h"

namespace aaa {

inline constexpr std::uint32_t header_marker = 0x01010101;
inline constexpr std::uint32_t header_size = sizeof(aaa_ipc_header);
static_assert(header_size == 16);

// No message is longer: the socket loops count in signed 32-bit lengths.
inline constexpr std::uint32_t max_body_length = INT32_MAX - header_size;

// A message in memory: the header, then header->length bytes of body. Whoever receives one owns it
// and releases it with free_message().
inline void* message_body(aaa_ipc_header* message) {
  return message + 1;
}
void free_message(aaa_ipc_header* message);

// Builds a message. A null body counts as empty, whatever `body_length` says. Returns null, and
// leaves *total_length alone, when there is no memory.
aaa_ipc_header* aaa_init_msg(std::uint32_t type, std::uint32_t id, const void* body,
                             std::uint32_t body_length, std::uint32_t* total_length);

// Writes `length` bytes. Returns 0 or an errno value: EINVAL for a bad argument, the current errno
// after 10 seconds or 50 interrupted or refused attempts. Never raises SIGPIPE. Takes no lock.
std::int32_t aaa_msg_send(std::int32_t fd, const void* buffer, std::int32_t length, int flags);

// Reads exactly `length` bytes. Returns 0 or an errno value: EINVAL for a bad argument, EPIPE when
// the peer has closed, the current errno after 10 seconds. Takes no lock. A cancellation point.
std::int32_t aaa_msg_recv(std::int32_t fd, void* buffer, std::int32_t length);

// The same for at least `least` and at most `most` bytes, which must both be positive: takes what
// is there and tells how much it was, also when it fails.
std::int32_t receive_between(std::int32_t fd, void* buffer, std::size_t least, std::size_t most,
                             std::size_t& received);

// The next three write one whole frame, under the link's write lock, so that frames of several
// threads never mix. `socket` is a field of the connection record, which is then read under that
// lock too and cannot name a descriptor that was closed meanwhile; or it is a plain number that no
// other thread can close now (aaa_lib_lock is held, if it is a socket of the link).

// Writes a frame that is complete. Result as aaa_msg_send().
std::int32_t send_frame(const std::int32_t& socket, const void* frame, std::uint32_t length);

// Frames a body with id 0 and writes it. 0, ENOMEM or the error of aaa_msg_send().
std::int32_t aaa_send_ipc_msg(const std::int32_t& socket, std::uint32_t type, const void* body,
                              std::uint32_t body_length);

// The same with a debug line first.
std::int32_t aaalib_send_ipc_msg_print(const std::int32_t& socket, std::uint32_t type,
                                       const void* body, std::uint32_t body_length);

// Reads one message. Null when it could not be read whole or no memory was left; the second form
// then writes a debug line.
aaa_ipc_header* aaa_recv_ipc_msg_from_sd(std::int32_t fd);
aaa_ipc_header* aaalib_recv_ipc_msg_from_sd(std::int32_t fd);

}  // namespace aaa
