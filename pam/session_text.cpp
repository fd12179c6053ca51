#include "session_text.h"

#include <cstdio>
#include <cstring>

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

bool read_class(const char* digits, Session& session) {
  const std::size_t size = std::strlen(digits);
  if (size % 2 != 0 || size / 2 > kMaxClass) return false;
  for (std::size_t i = 0; i < size / 2; ++i) {
    std::uint32_t byte;
    if (!read_digits(digits + 2 * i, 2, byte)) return false;
    session.class_bytes[i] = static_cast<std::uint8_t>(byte);
  }
  session.class_size = static_cast<std::uint16_t>(size / 2);
  return true;
}

}  // namespace

void write_session(const Session& session, SessionText& text) {
  char* at = text + std::snprintf(text, sizeof text, "%s=%08x:", kSessionVariable, session.id);
  for (std::size_t i = 0; i < session.class_size; ++i) {
    *at++ = kDigits[session.class_bytes[i] >> 4];
    *at++ = kDigits[session.class_bytes[i] & 15];
  }
  *at = '\0';
}

bool read_session(const char* value, Session& session) {
  return read_digits(value, kIdDigits, session.id) && session.id != 0 && value[kIdDigits] == ':' &&
         read_class(value + kIdDigits + 1, session);
}

}  // namespace aaa_pam
