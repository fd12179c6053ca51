// Captures, as aaa-dissect and the masking of secrets take them.
#include <sstream>
#include <string>
#include <vector>

#include "capture/message_packet.h"
#include "capture/reader.h"
#include "traffic/touch.h"

namespace fuzz {
namespace {

using aaa_capture::Packet;
using traffic::require;

// Masking leaves the length, and changes bytes to '*' only.
void mask(const aaa_capture::Interface& interface, Packet packet) {
  const std::vector<std::uint8_t> before = packet.bytes;
  aaa_capture::mask_secrets(interface, packet);
  require(packet.bytes.size() == before.size());
  for (std::size_t i = 0; i < before.size(); ++i)
    require(packet.bytes[i] == before[i] || packet.bytes[i] == '*');
}

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream input(std::string(data, data + size));
  aaa_capture::Reader reader(input);
  try {
    for (aaa_capture::Packet packet; reader.next(packet);)
      fuzz::mask(reader.interface(), packet);
  } catch (const aaa_capture::CaptureError&) {
    return 0;  // as anything may be
  }
  return 0;
}
