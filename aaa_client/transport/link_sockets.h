// The link's two sockets as the connection record has them: putting one on record, what is known of
// its number, whole frames on it, closing it. A frame is written under the write lock of its
// socket, so that frames of several threads never mix and none reaches a descriptor that was closed
// meanwhile.
#pragma once

#include <pthread.h>

#include <cerrno>
#include <cstdint>

#include "aaa_client.h"
#include "session/state/link.h"
#include "session/state/locks.h"

namespace aaa {

enum class LinkSocket { request, event };

std::int32_t& field_of(LinkSocket socket);
Mutex& write_lock_of(LinkSocket socket);

// Puts a new connection's socket on record. On the request socket no other frame is written until
// the register request has been.
void record_socket(LinkSocket socket, std::int32_t fd) REQUIRES(aaa_lib_lock);

// Whether a request socket is on record that waits for its register request.
bool waits_for_register_request();

// Whether the number on record is one that close_request_socket() has closed.
bool request_number_is_closed();

// What a close left of the descriptor: gone, also when it was not open in the first place. After
// any other error it may still be open.
inline bool is_gone(int close_error) {
  return close_error == 0 || close_error == EBADF;
}

// Ends what threads do on a socket; what follows is its close.
void shut_down(LinkSocket socket) REQUIRES(aaa_lib_lock);

// The three return 0 or the error of the close. A thread that is writing to the socket or reading a
// message from it gets an error at once and is waited for.

// Closes a socket, forgets its number and ends the link. With a descriptor that may still be open
// the link goes on.
int close_socket(LinkSocket socket) REQUIRES(aaa_lib_lock);
// The same for a descriptor that is on record as both.
int close_both_at_once() REQUIRES(aaa_lib_lock);
// Closes the request socket alone and leaves its number on record, where it counts as closed until
// the field has held another value: nothing is written to it and it is not closed again. The link
// goes on with its event socket.
int close_request_socket() REQUIRES(aaa_lib_lock);

// Writes a complete frame on the given link. Result as aaa_msg_send(); EBADF when that link has
// ended or the library has closed the socket, EINVAL when there is none or a register request must
// come first. REQUIRES: the frame holds its header.
std::int32_t send_on_link(LinkSocket socket, LinkNumber link, const void* frame,
                          std::uint32_t length);

// The same with a descriptor: one of the link is written as above, any other one without a lock.
std::int32_t send_on_descriptor(std::int32_t fd, const void* frame, std::uint32_t length);

// Frames a body with id 0 and writes it on the given link, with a debug line first. ENOMEM, or as
// above.
std::int32_t send_message_on_link(LinkSocket socket, LinkNumber link, std::uint32_t type,
                                  const void* body, std::uint32_t body_length);

}  // namespace aaa
