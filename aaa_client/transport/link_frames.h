// Whole frames on the link's sockets. A frame is written under the write lock of its socket, so
// that frames of several threads never mix and none reaches a descriptor that was closed meanwhile.
#pragma once

#include <cstdint>

#include "aaa_client.h"
#include "transport/link_sockets.h"

namespace aaa {

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
