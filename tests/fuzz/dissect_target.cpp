// What aaa-dissect does with a capture. The first byte of the input says what the rest is: a
// capture, or one message, of which socket and of whom.
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "capture/message_packet.h"
#include "capture/reader.h"
#include "messages/render.h"
#include "traffic/touch.h"

namespace fuzz {
namespace {

using aaa_capture::Interface;
using aaa_capture::Packet;

using traffic::require;

// Values of the first byte from which on it is a message: the lowest bits are socket and sender.
constexpr unsigned kIsMessage = 8;

void render(const Interface& interface, const Packet& packet, bool secrets) {
  const auto message = aaa_messages::decode(aaa_capture::frame_of(interface, packet));
  (void)aaa_messages::to_text(message, {.secrets = secrets, .all_fields = true});
  (void)aaa_messages::to_json(message, {.secrets = secrets}).dump();
}

void dissect(const Interface& interface, Packet packet) {
  render(interface, packet, true);
  render(interface, packet, false);
  const std::vector<std::uint8_t> before = packet.bytes;
  aaa_capture::mask_secrets(interface, packet);
  require(packet.bytes.size() == before.size());
  for (std::size_t i = 0; i < before.size(); ++i)
    require(packet.bytes[i] == before[i] || packet.bytes[i] == '*');
}

void dissect_capture(const std::string& bytes) {
  std::istringstream input(bytes);
  aaa_capture::Reader reader(input);
  try {
    for (Packet packet; reader.next(packet);)
      dissect(reader.interface(), packet);
  } catch (const aaa_capture::CaptureError&) {
  }
}

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const unsigned what = data[0];
  if (what < fuzz::kIsMessage) {
    fuzz::dissect_capture({data + 1, data + size});
  } else {
    fuzz::dissect({.name = (what & 1) != 0 ? "event" : "request"},
                  {.direction = (what & 2) != 0 ? aaa_capture::Direction::outbound
                                                : aaa_capture::Direction::inbound,
                   .bytes = {data + 1, data + size}});
  }
  return 0;
}
