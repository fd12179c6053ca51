// The decoder of messages, its renderers and the masking of secrets. The first byte of the input
// says who sends the rest, on which socket, and whether secrets are printed.
#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
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

// Fields are one behind another, and parts inside their wholes. Notes where the secrets are.
void check_fields(const std::vector<Field>& fields, std::size_t begin, std::size_t end,
                  std::vector<bool>& secret) {
  for (const Field& field : fields) {
    require(begin <= field.offset && field.length <= end && field.offset <= end - field.length);
    begin = field.offset + field.length;
    check_fields(field.fields, field.offset, begin, secret);
    if (!field.secret) continue;
    const auto first = secret.begin() + static_cast<std::ptrdiff_t>(field.offset);
    std::fill_n(first, field.length, true);
  }
}

void check_message(const Decoded& message, std::size_t size, std::vector<bool>& secret) {
  check_fields(message.fields, message.offset, size, secret);
  for (const Decoded& part : message.messages)
    check_message(part, size, secret);
}

std::string without_secrets(const Decoded& message) {
  return aaa_messages::to_text(message, {.all_fields = true});
}

// All that can be printed is printed, half of it for each input.
void render(const Decoded& message, bool secrets) {
  aaa_messages::to_text(message, {.secrets = secrets});
  require(aaa_messages::to_json(message, {.secrets = secrets}).dump().front() == '{');
}

// What a masked message looks like without its secrets is what the message looks like without them.
void check_masked(unsigned flags, const Bytes& bytes, const Decoded& message,
                  const std::vector<bool>& secret) {
  Bytes masked = bytes;
  aaa_messages::mask_secrets(frame_of(flags, bytes), masked);
  for (std::size_t at = 0; at < bytes.size(); ++at)
    require(masked[at] == (secret[at] ? '*' : bytes[at]));
  const Decoded again = aaa_messages::decode(frame_of(flags, masked));
  std::vector<bool> still_secret(bytes.size());
  check_message(again, bytes.size(), still_secret);
  require(secret == still_secret);
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
  std::vector<bool> secret(bytes.size());
  fuzz::check_message(message, bytes.size(), secret);
  fuzz::render(message, (data[0] & 8) != 0);
  fuzz::check_masked(data[0], bytes, message, secret);
  return 0;
}
