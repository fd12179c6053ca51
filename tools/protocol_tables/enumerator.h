// Names of enumerators, from their values: no name is written twice.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

namespace protocol_tables {

// Empty when the value has no name.
template <auto Value>
constexpr std::string_view enumerator() {
  // "... [with auto Value = name; ...]" or "... [Value = name]"; a value without a name is a number
  // behind its type in parentheses.
  std::string_view text = __PRETTY_FUNCTION__;
  const std::string_view key = "Value = ";
  text.remove_prefix(text.find(key) + key.size());
  text = text.substr(0, text.find_first_of(";]"));
  if (text.starts_with('(')) return {};
  return text.substr(text.rfind(':') + 1);
}

template <typename Enumeration, std::size_t... Values>
constexpr auto enumerators(std::index_sequence<Values...>) {
  return std::array{enumerator<static_cast<Enumeration>(Values)>()...};
}

// For values below `Count`; throws std::out_of_range for others.
template <std::size_t Count = 16, typename Enumeration>
std::string_view name_of(Enumeration value) {
  static constexpr auto names = enumerators<Enumeration>(std::make_index_sequence<Count>());
  return names.at(static_cast<std::size_t>(value));
}

}  // namespace protocol_tables
