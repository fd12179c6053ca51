// The messages that cross the simulator, and the names of who sends them.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "aaa_client.h"

namespace aaa_sim {

using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

inline constexpr std::uint32_t kMarker = 0x01010101;
inline constexpr std::size_t kHeaderSize = 16;

// The two connections of a client, by the character in their register requests.
enum class Role : char { none = '-', request = '1', event = '2' };

const char* role_name(Role role);

// A client program. As an argument, an empty model and a pid of 0 match every client.
struct ClientName {
  std::string model = {};
  pid_t pid = 0;

  bool operator==(const ClientName&) const = default;
};

// "model/pid".
std::string describe(const ClientName& name);

bool matches(const ClientName& pattern, const ClientName& name);

// One message: the header's words and the body behind it.
struct Frame {
  aaa_ipc_header header{};
  Bytes body = {};
};

// A message with marker and body length in place.
Frame make_frame(std::uint32_t type, std::uint32_t id, View body);
// The message as it crosses a socket.
Bytes to_bytes(const Frame& frame);

// Bodies made of 32-bit words in host byte order.
Bytes encode_words(std::span<const std::uint32_t> words);
Bytes encode_status(const aaa_status& status);

enum class Direction { received, sent };

// A message as the simulator recorded it.
struct Message {
  std::chrono::microseconds time{};  // since the simulator was made
  Direction direction = Direction::received;
  ClientName client = {};  // the model is empty before a register request has been read
  Role role = Role::none;
  bool in_batch = false;  // came inside a message of type AAA_MSG_PAD_PKT
  aaa_ipc_header header{};
  Bytes bytes = {};  // header and body as they crossed

  View body() const { return View(bytes).subspan(kHeaderSize); }
};

using Predicate = std::function<bool(const Message&)>;

// The message as one line of text, without a line end.
std::string describe(const Message& message);

}  // namespace aaa_sim
