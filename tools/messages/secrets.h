// Passwords and keys in messages.
#pragma once

#include <cstdint>
#include <span>

#include "messages/decoder.h"

namespace aaa_messages {

// Overwrites the secret bytes of `bytes`, a copy of the frame's, with '*'; and bytes that no field
// shows, behind the NUL of a text and in reserved places, unless they are zero: a sender that does
// not clear its records leaves there what they held before. No length changes: the masked message
// decodes to the same fields. REQUIRES: `bytes` is as long as the frame.
void mask_secrets(const Frame& frame, std::span<std::uint8_t> bytes);

}  // namespace aaa_messages
