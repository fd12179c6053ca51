#include "program/fields.h"

#include "aaa_client.h"
#include "capture/message_packet.h"
#include "messages/render.h"

namespace aaa_sim {

std::string fields_of(const Message& message) {
  if (message.header.type == AAA_MSG_PAD_PKT) return "";
  const bool inbound = message.direction == Direction::received;
  const aaa_capture::Packet packet = {
      .direction = inbound ? aaa_capture::Direction::inbound : aaa_capture::Direction::outbound,
      .bytes = message.bytes};
  const aaa_capture::Interface socket = aaa_capture::interface_of(message.client, message.role);
  const std::string text =
      aaa_messages::to_text(aaa_messages::decode(aaa_capture::frame_of(socket, packet)));
  const std::size_t headline = text.find('\n');
  return text.substr(headline, text.size() - headline - 1);
}

}  // namespace aaa_sim
