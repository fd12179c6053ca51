// Names of members, from the pointers to them: no name is written twice.
#pragma once

#include <string_view>

namespace aaa_messages {

// A member's name without the underscore that sets it apart from a keyword.
template <auto Member>
constexpr std::string_view member_name() {
  // "... [with auto Member = &record::name; ...]" or "... [Member = &record::name]"
  std::string_view text = __PRETTY_FUNCTION__;
  const std::string_view key = "Member = ";
  text.remove_prefix(text.find(key) + key.size());
  text = text.substr(0, text.find_first_of(";]"));
  text.remove_prefix(text.rfind(':') + 1);
  if (text.ends_with('_')) text.remove_suffix(1);
  return text;
}

}  // namespace aaa_messages
