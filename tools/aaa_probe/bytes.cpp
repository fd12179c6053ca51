#include "bytes.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace aaa_probe {
namespace {

constexpr char kDigits[] = "0123456789abcdef";

// Lead byte of a sequence: its length, and the smallest code point that needs as many bytes.
struct Lead {
  std::size_t length;
  char32_t bits;
  char32_t smallest;
};

std::optional<Lead> lead_of(unsigned char byte) {
  if (byte < 0x80) return Lead{1, byte, 0};
  if ((byte & 0xe0) == 0xc0) return Lead{2, byte & 0x1fu, 0x80};
  if ((byte & 0xf0) == 0xe0) return Lead{3, byte & 0x0fu, 0x800};
  if ((byte & 0xf8) == 0xf0) return Lead{4, byte & 0x07u, 0x10000};
  return std::nullopt;
}

bool is_printable(char32_t point) {
  if (point == '\t' || point == '\n' || point == '\r') return true;
  if (point < 0x20 || (point >= 0x7f && point < 0xa0)) return false;
  return point <= 0x10ffff && (point < 0xd800 || point > 0xdfff);
}

// Takes one character off the front; nothing when it is not well-formed.
std::optional<char32_t> take_character(std::string_view& bytes) {
  const auto lead = lead_of(static_cast<unsigned char>(bytes.front()));
  if (!lead || bytes.size() < lead->length) return std::nullopt;
  char32_t point = lead->bits;
  for (const char character : bytes.substr(1, lead->length - 1)) {
    const auto byte = static_cast<unsigned char>(character);
    if ((byte & 0xc0) != 0x80) return std::nullopt;
    point = point << 6 | (byte & 0x3fu);
  }
  if (point < lead->smallest) return std::nullopt;
  bytes.remove_prefix(lead->length);
  return point;
}

std::optional<unsigned> digit_value(char digit) {
  const char lower = digit >= 'A' && digit <= 'F' ? static_cast<char>(digit - 'A' + 'a') : digit;
  const std::size_t value = std::string_view(kDigits).find(lower);
  if (value == std::string_view::npos) return std::nullopt;
  return static_cast<unsigned>(value);
}

}  // namespace

bool is_text(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto point = take_character(bytes);
    if (!point || !is_printable(*point)) return false;
  }
  return true;
}

std::string to_hex(std::string_view bytes) {
  std::string digits;
  for (const char character : bytes) {
    const auto byte = static_cast<unsigned char>(character);
    digits += kDigits[byte >> 4];
    digits += kDigits[byte & 15u];
  }
  return digits;
}

std::optional<std::string> parse_hex(std::string_view digits) {
  if (digits.empty() || digits.size() % 2 != 0) return std::nullopt;
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const auto high = digit_value(digits[i]), low = digit_value(digits[i + 1]);
    if (!high || !low) return std::nullopt;
    bytes += static_cast<char>(*high << 4 | *low);
  }
  return bytes;
}

std::string_view view(const aaa_item& item) {
  if (item.value == nullptr) return {};
  return {static_cast<const char*>(item.value), item.len};
}

std::string_view view_of_member(const void* member, std::size_t size) {
  const auto* const text = static_cast<const char*>(member);
  return {text, ::strnlen(text, size)};
}

aaa_item item_of(std::string_view bytes) {
  return {0, static_cast<std::uint16_t>(bytes.size()), bytes.empty() ? nullptr : bytes.data()};
}

void copy_to_member(void* member, std::size_t size, std::string_view bytes) {
  if (!bytes.empty()) std::memcpy(member, bytes.data(), std::min(size, bytes.size()));
}

}  // namespace aaa_probe
