#include "capture/message_packet.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "messages/secrets.h"

namespace aaa_capture {
namespace {

bool begins_as_message(const Packet& packet) {
  return packet.bytes.size() >= sizeof aaa_sim::kMarker &&
         std::memcmp(packet.bytes.data(), &aaa_sim::kMarker, sizeof aaa_sim::kMarker) == 0;
}

aaa_messages::Socket socket_of(const Interface& interface) {
  if (interface.name == "request") return aaa_messages::Socket::request;
  if (interface.name == "event") return aaa_messages::Socket::event;
  return aaa_messages::Socket::unknown;
}

}  // namespace

Interface interface_of(const aaa_sim::ClientName& client, aaa_sim::Role role) {
  const bool known = role != aaa_sim::Role::none;
  return {.name = known ? aaa_sim::role_name(role) : "unknown", .description = describe(client)};
}

aaa_messages::Frame frame_of(const Interface& interface, const Packet& packet) {
  const bool from_daemon = packet.direction == Direction::outbound;
  return {.socket = socket_of(interface),
          .sender = from_daemon ? aaa_messages::Sender::daemon : aaa_messages::Sender::client,
          .bytes = packet.bytes};
}

void mask_secrets(const Interface& interface, Packet& packet, Form form) {
  if (form == Form::message && begins_as_message(packet))
    aaa_messages::mask_secrets(frame_of(interface, packet), packet.bytes);
  else
    std::ranges::fill(packet.bytes, std::uint8_t{'*'});
}

std::uint64_t time_now() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

}  // namespace aaa_capture
