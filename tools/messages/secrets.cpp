#include "messages/secrets.h"

#include <algorithm>

namespace aaa_messages {
namespace {

void mask(std::span<std::uint8_t> bytes) {
  std::ranges::fill(bytes, '*');
}

void mask_behind_nul(const Field& field, std::span<std::uint8_t> bytes) {
  const auto* const text = std::get_if<std::string>(&field.value);
  if (text == nullptr || text->size() >= field.length) return;
  const auto rest = bytes.subspan(text->size() + 1);
  if (std::ranges::any_of(rest, [](std::uint8_t byte) { return byte != 0; })) mask(rest);
}

void mask(const std::vector<Field>& fields, std::span<std::uint8_t> bytes) {
  for (const Field& field : fields) {
    const auto own = bytes.subspan(field.offset, field.length);
    if (field.secret)
      mask(own);
    else
      mask_behind_nul(field, own);
    mask(field.fields, bytes);
  }
}

void mask(const Decoded& message, std::span<std::uint8_t> bytes) {
  mask(message.fields, bytes);
  for (const Extent& reserved : message.reserved)
    mask(bytes.subspan(reserved.offset, reserved.length));
  for (const Decoded& part : message.messages)
    mask(part, bytes);
}

}  // namespace

void mask_secrets(const Frame& frame, std::span<std::uint8_t> bytes) {
  mask(decode(frame), bytes);
}

}  // namespace aaa_messages
