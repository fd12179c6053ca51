#include "printer.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <string>

#include <nlohmann/json.hpp>

#include "capture/message_packet.h"
#include "messages/render.h"

namespace aaa_dissect {
namespace {

using aaa_capture::Direction;
using aaa_capture::Interface;
using aaa_capture::Packet;
using Json = nlohmann::ordered_json;

constexpr std::uint64_t kPerSecond = 1'000'000'000;

// In UTC.
std::string text_of_time(std::uint64_t time) {
  const auto seconds = static_cast<std::time_t>(time / kPerSecond);
  std::tm parts{};
  ::gmtime_r(&seconds, &parts);
  char text[64];
  const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
  std::snprintf(text + length, sizeof text - length, ".%09uZ",
                static_cast<unsigned>(time % kPerSecond));
  return text;
}

// A capture of anybody's may hold anything; a terminal shall not act on it.
std::string printable(std::string text) {
  std::ranges::replace_if(
      text, [](char c) { return c < ' ' || c > '~'; }, '?');
  return text;
}

aaa_messages::Decoded decoded(const Interface& interface, const Packet& packet) {
  auto message = aaa_messages::decode(aaa_capture::frame_of(interface, packet));
  if (packet.direction != Direction::inbound && packet.direction != Direction::outbound)
    message.remarks.push_back("the capture does not say who sent it");
  if (!packet.comment.empty()) message.remarks.push_back(printable(packet.comment));
  if (packet.length > packet.bytes.size())
    message.remarks.push_back("the capture has " + std::to_string(packet.bytes.size()) + " of " +
                              std::to_string(packet.length) + " bytes");
  return message;
}

std::string to_text(const Interface& interface, const Packet& packet,
                    const aaa_messages::Rendering& rendering) {
  const std::string client = printable(interface.description);
  return text_of_time(packet.time) + " " + (client.empty() ? "-" : client) + " " +
         aaa_messages::to_text(decoded(interface, packet), rendering);
}

std::string to_json(const Interface& interface, const Packet& packet,
                    const aaa_messages::Rendering& rendering) {
  Json line = {{"time", text_of_time(packet.time)}, {"client", printable(interface.description)}};
  line.update(aaa_messages::to_json(decoded(interface, packet), rendering));
  return line.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

bool Printer::print(const Interface& interface, const Packet& packet) {
  if (error_ != 0) return miss();
  const aaa_messages::Rendering rendering{.secrets = style_.secrets};
  const std::string text = style_.is_json ? to_json(interface, packet, rendering)
                                          : to_text(interface, packet, rendering);
  error_ = output_.write(text);
  return error_ == 0 || miss();
}

bool Printer::miss() {
  ++missed_;
  return false;
}

}  // namespace aaa_dissect
