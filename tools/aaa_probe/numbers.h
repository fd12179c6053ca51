// Numbers of the command line: decimal, or hexadecimal after 0x.
#pragma once

#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace aaa_probe {

template <class Number>
std::optional<Number> parse_number(std::string_view text) {
  const bool is_hex = text.starts_with("0x");
  if (is_hex) text.remove_prefix(2);
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [at, error] = std::from_chars(text.data(), end, number, is_hex ? 16 : 10);
  if (text.empty() || error != std::errc() || at != end) return std::nullopt;
  return number;
}

// The permitted values of an option.
template <class Number>
struct Range {
  Number least = 0;
  Number most = std::numeric_limits<Number>::max();

  std::string text() const {
    return "a number from " + std::to_string(least) + " to " + std::to_string(most);
  }
  bool has(Number number) const { return number >= least && number <= most; }
};

}  // namespace aaa_probe
