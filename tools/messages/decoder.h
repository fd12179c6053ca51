// The messages between clients and aaad, decoded into named fields. For people and tests: nothing
// is rejected, and what does not fit is said.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace aaa_messages {

using Octets = std::vector<std::uint8_t>;
using Words = std::vector<std::uint32_t>;

// The two connections of a client.
enum class Socket : std::uint8_t { unknown, request, event };
enum class Sender : std::uint8_t { client, daemon };

// One message, header and body. It may be truncated.
struct Frame {
  Socket socket = Socket::unknown;
  Sender sender = Sender::client;
  std::span<const std::uint8_t> bytes = {};
};

// Nothing for a field that consists of others, and for one that is not there as a whole.
using Value = std::variant<std::monostate, std::uint64_t, std::int64_t, std::string, Octets, Words>;

struct Field {
  std::string name;
  std::size_t offset = 0;  // from the start of the frame; an item's is that of its value
  std::size_t length = 0;  // of the bytes that are there
  Value value = {};
  bool secret = false;                    // a password or a key, or what might be one
  std::optional<std::uint32_t> tag = {};  // the number of an item
  std::vector<Field> fields = {};
};

struct Extent {
  std::size_t offset;  // from the start of the frame
  std::size_t length;
};

struct Decoded {
  Socket socket = Socket::unknown;
  Sender sender = Sender::client;
  std::size_t offset = 0;  // of the header: not 0 for a message of a batch
  bool has_header = false;
  std::uint32_t id = 0;
  std::uint32_t type = 0;
  std::string type_name = {};
  std::uint32_t body_length = 0;  // as the header says
  std::vector<Field> fields = {};
  std::vector<Decoded> messages = {};     // of a batch
  std::vector<std::string> remarks = {};  // what does not fit, and what is missing
  std::vector<Extent> reserved = {};      // bytes of no field that ought to be zero and are not
};

Decoded decode(const Frame& frame);

}  // namespace aaa_messages
