// Octets as text, where they are text, and as hexadecimal digits.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "aaa_codec.h"

namespace aaa_probe {

// UTF-8 that is harmless on a terminal: without control characters except tabs and line ends.
bool is_text(std::string_view bytes);

std::string to_hex(std::string_view bytes);
// Pairs of digits, at least one.
std::optional<std::string> parse_hex(std::string_view digits);

// The value of an item.
std::string_view view(const aaa_item& item);
// A member of fixed size, up to its first zero byte.
std::string_view view_of_member(const void* member, std::size_t size);

// As an item; the text must outlive it.
aaa_item item_of(std::string_view bytes);
// Copies what fits; the member is zero before.
void copy_to_member(void* member, std::size_t size, std::string_view bytes);

}  // namespace aaa_probe
