// Numbers and names as people type them, on the command line and in commands.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "settings.h"

namespace aaa_sim {

// Decimal, or hexadecimal after 0x.
std::optional<std::uint32_t> parse_number(std::string_view text);
// Pairs of hexadecimal digits.
std::optional<Bytes> parse_hex(std::string_view text);
// A number, or the display name with '-' for blanks, as "notify-result". Of two types with one name
// it is the one that aaad sends.
std::optional<std::uint32_t> parse_message_type(std::string_view text);
// "KIND:NAME=STATE".
std::optional<MethodList> parse_method_list(std::string_view text);
// "NAME:PASSWORD"; the name has no colon.
std::optional<LocalUser> parse_local_user(std::string_view text);
// "request" or "event".
std::optional<Role> parse_role(std::string_view text);
// "none", "silent", "wrong-type", "empty-body", "short-body", "close", "close-after".
std::optional<Fault> parse_fault(std::string_view text);

// A status word by its name in aaa_status or its number, 0 to 9; null when there is none.
std::uint32_t* status_word(aaa_status& status, std::string_view name);

}  // namespace aaa_sim
