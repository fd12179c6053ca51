// What the RADIUS client has done and dropped.
#pragma once

#include <cstdint>
#include <string>

namespace aaa_sim::radius {

struct Counters {
  std::uint64_t requests = 0;  // each once, however often it was sent
  std::uint64_t resent = 0;
  std::uint64_t failovers = 0;
  std::uint64_t replies = 0;
  std::uint64_t unanswered = 0;
  std::uint64_t refused = 0;  // ICMP errors
  // Dropped datagrams.
  std::uint64_t unexpected = 0;  // late, duplicate or stray: no request has the identifier
  std::uint64_t malformed = 0;
  std::uint64_t wrong_code = 0;
  std::uint64_t wrong_authenticator = 0;
  std::uint64_t no_message_authenticator = 0;
  std::uint64_t wrong_message_authenticator = 0;

  bool operator==(const Counters&) const = default;
};

// One line for each counter that is not 0.
std::string describe(const Counters& counters);

}  // namespace aaa_sim::radius
