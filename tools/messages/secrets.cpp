#include "messages/secrets.h"

#include <algorithm>

namespace aaa_messages {
namespace {

void mask(const std::vector<Field>& fields, std::span<std::uint8_t> bytes) {
  for (const Field& field : fields) {
    if (field.secret) std::ranges::fill(bytes.subspan(field.offset, field.length), '*');
    mask(field.fields, bytes);
  }
}

void mask(const Decoded& message, std::span<std::uint8_t> bytes) {
  mask(message.fields, bytes);
  for (const Decoded& part : message.messages)
    mask(part, bytes);
}

}  // namespace

void mask_secrets(const Frame& frame, std::span<std::uint8_t> bytes) {
  mask(decode(frame), bytes);
}

}  // namespace aaa_messages
