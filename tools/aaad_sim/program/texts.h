// Numbers and names of the command line and of commands. Empty for a text that cannot be parsed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "backend/settings.h"

namespace aaa_sim {

// Decimal, or hexadecimal after 0x.
std::optional<std::uint32_t> parse_number(std::string_view text);
// Pairs of hexadecimal digits.
std::optional<Bytes> parse_hex(std::string_view text);
// A number, or the type's name with '-' for blanks, such as "notify-result". If two types have the
// name, the one that aaad sends.
std::optional<std::uint32_t> parse_message_type(std::string_view text);
// "KIND:NAME=STATE".
std::optional<MethodList> parse_method_list(std::string_view text);
// "NAME:PASSWORD"; the name has no colon.
std::optional<LocalUser> parse_local_user(std::string_view text);
// "request" or "event".
std::optional<Role> parse_role(std::string_view text);
// "none", "silent", "wrong-type", "empty-body", "short-body", "close", "close-after".
std::optional<Fault> parse_fault(std::string_view text);

// By its name in aaa_status or its number, 0 to 9. Null for an unknown one.
std::uint32_t* status_word(aaa_status& status, std::string_view name);

}  // namespace aaa_sim
