#include "session_text.h"

#include <cstdio>
#include <cstring>
#include <span>

namespace aaa_pam {
namespace {

constexpr char kDigits[] = "0123456789abcdef";

bool read_digit(char digit, std::uint32_t& number) {
  const char* const found =
      digit == '\0' ? nullptr : static_cast<const char*>(std::strchr(kDigits, digit));
  if (found == nullptr) return false;
  number = number << 4 | static_cast<std::uint32_t>(found - kDigits);
  return true;
}

// Reads digits up to a NUL at the latest.
bool read_digits(const char* digits, std::size_t count, std::uint32_t& number) {
  number = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (!read_digit(digits[i], number)) return false;
  }
  return true;
}

// Reads pairs of digits up to `end`, a character or the NUL. Returns where that is; null for
// anything else.
const char* read_bytes(const char* digits, char end, std::span<std::uint8_t> bytes,
                       std::size_t& size) {
  for (size = 0; *digits != end; ++size, digits += 2) {
    std::uint32_t byte;
    if (size == bytes.size() || !read_digits(digits, 2, byte)) return nullptr;
    bytes[size] = static_cast<std::uint8_t>(byte);
  }
  return digits;
}

bool read_class_and_name(const char* digits, Session& session) {
  std::size_t class_size;
  std::size_t name_size;
  std::uint8_t name[kMaxName];
  const char* const colon = read_bytes(digits, ':', session.class_bytes, class_size);
  if (colon == nullptr || read_bytes(colon + 1, '\0', name, name_size) == nullptr) return false;
  if (name_size == 0 || std::memchr(name, 0, name_size) != nullptr) return false;
  session.class_size = static_cast<std::uint16_t>(class_size);
  std::memcpy(session.name, name, name_size);
  return true;
}

char* write_bytes(char* at, std::span<const std::uint8_t> bytes) {
  for (const std::uint8_t byte : bytes) {
    *at++ = kDigits[byte >> 4];
    *at++ = kDigits[byte & 15];
  }
  return at;
}

}  // namespace

void write_session(const Session& session, SessionText& text) {
  char* at = text + std::snprintf(text, sizeof text, "%s=%08x:", kSessionVariable, session.id);
  at = write_bytes(at, {session.class_bytes.data(), session.class_size});
  *at++ = ':';
  const auto* const name = reinterpret_cast<const std::uint8_t*>(session.name);
  at = write_bytes(at, {name, std::strlen(session.name)});
  *at = '\0';
}

bool read_session(const char* value, Session& session) {
  return read_digits(value, kIdDigits, session.id) && session.id != 0 && value[kIdDigits] == ':' &&
         read_class_and_name(value + kIdDigits + 1, session);
}

}  // namespace aaa_pam
