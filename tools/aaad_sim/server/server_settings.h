// How the server treats connections and answers, whatever the answers say.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <utility>

#include "wire/message.h"

namespace aaa_sim {

// What is done to an answer.
enum class Fault {
  none,
  silent,      // not sent
  wrong_type,  // type 103 instead of the right one; 101 instead of 103
  empty_body,
  short_body,   // the first half of the body
  close,        // not sent; the connection that asked is closed
  close_after,  // sent, then the connection that asked is closed
};

// The aaa_id that tells a client that its registration was refused.
inline constexpr std::uint32_t kRefused = 255;

struct ServerSettings {
  std::uint32_t aaa_id = 1;  // for clients that register

  bool listening = true;               // false: there is no socket to connect to
  bool reading = true;                 // false: what clients send stays in the sockets' buffers
  bool silent = false;                 // true: no request is answered
  bool byte_wise = false;              // true: one write for each byte
  std::chrono::milliseconds delay{0};  // of every answer
  std::chrono::milliseconds heartbeat_interval{0};  // of unsolicited heartbeats; 0: none

  // By the role of the connection that asks and the type of the request.
  std::map<std::pair<Role, std::uint32_t>, Fault> faults;
};

}  // namespace aaa_sim
