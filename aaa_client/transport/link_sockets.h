// The link's two sockets as the connection record has them: putting one on record, what is known of
// its number, and closing it.
#pragma once

#include <pthread.h>

#include <cerrno>
#include <cstdint>

#include "session/state/link_number.h"
#include "session/state/locks.h"

namespace aaa {

enum class LinkSocket { request, event };

std::int32_t& field_of(LinkSocket socket);
Mutex& write_lock_of(LinkSocket socket);

// Puts a new connection's socket on record. On the request socket no other frame is written until
// allow_frames() tells that the register request has been.
void record_socket(LinkSocket socket, std::int32_t fd) REQUIRES(aaa_lib_lock);
void allow_frames(LinkSocket socket) REQUIRES(write_lock_of(socket));

// Whether a request socket is on record that waits for its register request.
bool waits_for_register_request();

// Why a frame of the given link cannot be written on a socket: EBADF when that link has ended or
// the library has closed the number on record, which counts as a failed send; EINVAL while a
// register request must come first and the frame is none. 0 when it can.
std::int32_t obstacle_to_frame(LinkSocket socket, LinkNumber link, bool is_register_request)
    REQUIRES(write_lock_of(socket));

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

}  // namespace aaa
