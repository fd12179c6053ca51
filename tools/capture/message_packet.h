// Messages as packets of a capture.
#pragma once

#include "capture/packet.h"
#include "messages/decoder.h"
#include "wire/message.h"

namespace aaa_capture {

// Named for the socket: "request", "event", or "unknown" before a register request; described by
// the client.
Interface interface_of(const aaa_sim::ClientName& client, aaa_sim::Role role);

// Valid as long as the packet.
aaa_messages::Frame frame_of(const Interface& interface, const Packet& packet);

// What the bytes of a packet are.
enum class Form : std::uint8_t {
  message,  // header and body, or what there is of them
  stray,    // what follows after bytes that were no message
};

// Masks passwords and keys, and what may be one: bytes that do not begin with a message's marker
// are masked whole, as they may be the end of a message whose header has a wrong length.
void mask_secrets(const Interface& interface, Packet& packet, Form form = Form::message);

// Nanoseconds since 1970.
std::uint64_t time_now();

}  // namespace aaa_capture
