// What a capture holds: packets, and the interfaces that they crossed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace aaa_capture {

// Link type USER0: packets whose form is agreed outside the format.
inline constexpr std::uint16_t kUser0 = 147;

// As seen by the daemon.
enum class Direction : std::uint8_t { unknown = 0, inbound = 1, outbound = 2 };

struct Interface {
  std::string name = {};
  std::string description = {};
  std::uint16_t link_type = kUser0;
};

struct Packet {
  std::uint32_t interface = 0;  // its number in the section, from 0
  std::uint64_t time = 0;       // nanoseconds since 1970
  Direction direction = Direction::unknown;
  std::vector<std::uint8_t> bytes = {};
  std::uint32_t length = 0;  // before it was cut for the capture
  std::string comment = {};
};

}  // namespace aaa_capture
