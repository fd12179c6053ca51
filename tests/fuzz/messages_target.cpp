// The decoder of messages, its renderers and the masking of secrets. The first byte of the input
// says who sends the rest, on which socket, and whether secrets are printed.
#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <variant>
#include <vector>

#include "messages/render.h"
#include "messages/secrets.h"
#include "traffic/touch.h"

namespace fuzz {
namespace {

using aaa_messages::Decoded;
using aaa_messages::Field;
using aaa_messages::Frame;
using aaa_messages::Sender;
using aaa_messages::Socket;
using traffic::require;

using Bytes = std::vector<std::uint8_t>;

Frame frame_of(unsigned flags, const Bytes& bytes) {
  constexpr Socket sockets[] = {Socket::unknown, Socket::request, Socket::event, Socket::unknown};
  return {sockets[flags & 3], (flags & 4) != 0 ? Sender::daemon : Sender::client, bytes};
}

// Which bytes are secret, and which ones no field shows: they are behind the NUL of a text, or
// reserved.
struct Places {
  explicit Places(std::size_t size) : secret(size), hidden(size) {}

  std::vector<bool> secret;
  std::vector<bool> hidden;
};

void note(std::vector<bool>& places, std::size_t offset, std::size_t length) {
  require(length <= places.size() && offset <= places.size() - length);
  std::fill_n(places.begin() + static_cast<std::ptrdiff_t>(offset), length, true);
}

// Fields are one behind another, and parts inside their wholes.
void check_fields(const std::vector<Field>& fields, std::size_t begin, std::size_t end,
                  Places& places) {
  for (const Field& field : fields) {
    require(begin <= field.offset && field.length <= end && field.offset <= end - field.length);
    begin = field.offset + field.length;
    check_fields(field.fields, field.offset, begin, places);
    const auto* const text = std::get_if<std::string>(&field.value);
    if (field.secret) {
      note(places.secret, field.offset, field.length);
    } else if (text != nullptr && text->size() < field.length) {
      note(places.hidden, field.offset + text->size() + 1, field.length - text->size() - 1);
    }
  }
}

void check_message(const Decoded& message, std::size_t size, Places& places) {
  check_fields(message.fields, message.offset, size, places);
  for (const aaa_messages::Extent& reserved : message.reserved)
    note(places.hidden, reserved.offset, reserved.length);
  for (const Decoded& part : message.messages)
    check_message(part, size, places);
}

std::string without_secrets(const Decoded& message) {
  return aaa_messages::to_text(message, {.all_fields = true});
}

// All that can be printed is printed, half of it for each input.
void render(const Decoded& message, bool secrets) {
  aaa_messages::to_text(message, {.secrets = secrets});
  require(aaa_messages::to_json(message, {.secrets = secrets}).dump().front() == '{');
}

bool is_masked(const Places& places, std::size_t at, std::uint8_t byte, std::uint8_t masked) {
  if (places.secret[at]) return masked == '*';
  if (places.hidden[at]) return masked == '*' || (masked == 0 && byte == 0);
  return masked == byte;
}

// What a masked message looks like without its secrets is what the message looks like without them.
void check_masked(unsigned flags, const Bytes& bytes, const Decoded& message,
                  const Places& places) {
  Bytes masked = bytes;
  aaa_messages::mask_secrets(frame_of(flags, bytes), masked);
  for (std::size_t at = 0; at < bytes.size(); ++at)
    require(is_masked(places, at, bytes[at], masked[at]));
  const Decoded again = aaa_messages::decode(frame_of(flags, masked));
  Places masked_places(bytes.size());
  check_message(again, bytes.size(), masked_places);
  require(places.secret == masked_places.secret);
  require(without_secrets(message) == without_secrets(again));
}

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  // A copy of its own, so that reading past the end is seen.
  const std::vector<std::uint8_t> bytes(data + 1, data + size);
  const auto message = aaa_messages::decode(fuzz::frame_of(data[0], bytes));
  fuzz::Places places(bytes.size());
  fuzz::check_message(message, bytes.size(), places);
  fuzz::render(message, (data[0] & 8) != 0);
  fuzz::check_masked(data[0], bytes, message, places);
  return 0;
}
