// The link's two sockets in the connection record: storing a new one, writing whole frames,
// closing. A frame is written under the write lock of its socket, so that frames of several threads
// never mix and none is written to a descriptor that has been closed.
#pragma once

#include <cerrno>
#include <cstdint>

#include "aaa_client.h"
#include "session/state/link.h"
#include "session/state/locks.h"

namespace aaa {

enum class LinkSocket { request, event };

std::int32_t& field_of(LinkSocket socket);
Mutex& write_lock_of(LinkSocket socket);

// Stores the socket of a new connection. On the request socket, the register request must be the
// first frame.
void record_socket(LinkSocket socket, std::int32_t fd) REQUIRES(aaa_lib_lock);

// Whether the request socket still waits for its register request.
bool waits_for_register_request();

// Whether sync_fd holds a number that close_request_socket() has closed.
bool request_number_is_closed();

// Whether the descriptor is closed; EBADF counts as closed. After any other error it may still be
// open.
inline bool is_gone(int close_error) {
  return close_error == 0 || close_error == EBADF;
}

// Ends blocked reads and writes on a socket that is about to be closed.
void shut_down(LinkSocket socket) REQUIRES(aaa_lib_lock);

// The next three functions return 0 or the error of close(). A thread that is writing to the socket
// or reading a message from it gets an error at once, and the close waits for it.

// Closes a socket, clears its field and ends the link. When the descriptor may still be open, the
// link continues.
int close_socket(LinkSocket socket) REQUIRES(aaa_lib_lock);
// The same for one descriptor in both fields.
int close_both_at_once() REQUIRES(aaa_lib_lock);
// Closes only the request socket and leaves its number in sync_fd, marked as closed: until the
// field has held another value, the library neither writes to that number nor closes it again. The
// link continues with its event socket.
int close_request_socket() REQUIRES(aaa_lib_lock);

// Writes a complete frame, header included, on the given link. Result as aaa_msg_send(); EBADF when
// that link has ended or the library has closed the socket, EINVAL when there is none or a register
// request must come first.
// REQUIRES: cancellation is disabled.
std::int32_t send_on_link(LinkSocket socket, LinkNumber link, const void* frame,
                          std::uint32_t length);

// aaalib_send_ipc_msg_print(). REQUIRES: cancellation is disabled.
std::int32_t log_and_send_message(std::int32_t fd, std::uint32_t type, const void* body,
                                  std::uint32_t body_length);

// Frames a body with id 0 and writes it on the given link, after a debug line. Result as
// send_on_link(), or ENOMEM.
std::int32_t send_message_on_link(LinkSocket socket, LinkNumber link, std::uint32_t type,
                                  const void* body, std::uint32_t body_length);

}  // namespace aaa
