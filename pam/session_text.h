// A session as a variable of the PAM environment: "AAA_SESSION=<id>:<class>:<name>", in
// hexadecimal digits.
#pragma once

#include <cstddef>

#include "session.h"

namespace aaa_pam {

inline constexpr char kSessionVariable[] = "AAA_SESSION";
inline constexpr std::size_t kIdDigits = 8;
inline constexpr std::size_t kSessionTextSize =
    sizeof kSessionVariable + kIdDigits + 1 + 2 * kMaxClass + 1 + 2 * kMaxName + 1;

using SessionText = char[kSessionTextSize];

void write_session(const Session& session, SessionText& text);

// Reads what follows the "=". Returns false for anything that write_session() does not write.
bool read_session(const char* value, Session& session);

}  // namespace aaa_pam
