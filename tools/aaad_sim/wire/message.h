// Messages as they cross the sockets, and who sends them.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "aaa_client.h"

namespace aaa_sim {

using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

inline View bytes_of(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}
inline std::string_view text_of(View bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

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

// Header and body of one message.
struct Frame {
  aaa_ipc_header header{};
  Bytes body = {};
};

// Fills in marker and body length.
Frame make_frame(std::uint32_t type, std::uint32_t id, View body);
Bytes to_bytes(const Frame& frame);

// Splits a byte stream into frames.
class FrameReader {
 public:
  enum class Status { need_more, frame, bad_marker, bad_length };

  // Far above what clients send: a longer body means a corrupt header.
  static constexpr std::uint32_t kMaxBody = 16u << 20;

  void append(View bytes);
  // Removes the next frame if it is complete. After bad_marker and bad_length the stream cannot be
  // resynchronised.
  Status next(Frame& frame);
  // Bytes received that belong to no complete frame yet.
  std::size_t pending() const { return bytes_.size() - used_; }
  View rest() const { return View(bytes_).subspan(used_); }

 private:
  Bytes bytes_;
  std::size_t used_ = 0;  // bytes at the front that were returned as frames
};

// Bodies made of 32-bit words in host byte order.
Bytes encode_words(std::span<const std::uint32_t> words);
Bytes encode_status(const aaa_status& status);

enum class Direction { received, sent };

// A message as the simulator recorded it.
struct Message {
  std::chrono::microseconds time{};  // since the simulator was constructed
  Direction direction = Direction::received;
  std::uint64_t connection = 0;  // its id
  ClientName client = {};        // the model is empty until the register request has been read
  Role role = Role::none;
  bool in_batch = false;  // came inside a message of type AAA_MSG_PAD_PKT
  aaa_ipc_header header{};
  Bytes bytes = {};  // header and body

  View body() const { return View(bytes).subspan(kHeaderSize); }
};

using Predicate = std::function<bool(const Message&)>;

// One line of text, without a line end.
std::string describe(const Message& message);

}  // namespace aaa_sim
