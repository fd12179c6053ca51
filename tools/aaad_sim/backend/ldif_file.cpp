#include "backend/ldif_file.h"

#include <algorithm>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "backend/input_file.h"

namespace aaa_sim {
namespace {

// A line joined with its continuation lines, and the number of the first one.
struct Line {
  std::size_t number;
  std::string text;
};

// An error in the file.
struct LdifError {
  std::size_t line;
  std::string what;
};

// Without comments, with empty lines, and with one more that ends the last entry.
std::vector<Line> read_lines(std::istream& file) {
  std::vector<Line> lines;
  std::size_t number = 0;
  for (std::string text; std::getline(file, text);) {
    ++number;
    if (text.ends_with('\r')) text.pop_back();
    if (text.starts_with(' ') && lines.empty())
      throw LdifError{number, "continuation line without a line before it"};
    if (text.starts_with(' '))
      lines.back().text += text.substr(1);
    else
      lines.push_back({number, text});
  }
  std::erase_if(lines, [](const Line& line) { return line.text.starts_with('#'); });
  lines.push_back({number + 1, ""});
  return lines;
}

int base64_digit(char character) {
  constexpr std::string_view digits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const std::size_t found = digits.find(character);
  return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

std::optional<std::string> decode_base64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
  text.remove_suffix(padding);
  std::string decoded;
  std::uint32_t bits = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const int digit = base64_digit(text[at]);
    if (digit < 0) return std::nullopt;
    bits = bits << 6 | static_cast<std::uint32_t>(digit);
    // Each group of 4 digits completes a byte at its 2nd, 3rd and 4th digit.
    if (at % 4 != 0) decoded += static_cast<char>(bits >> (6 - 2 * (at % 4)));
  }
  return decoded;
}

std::string read_value(const Line& line, std::string_view rest) {
  const bool encoded = rest.starts_with(':');
  if (encoded) rest.remove_prefix(1);
  rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
  if (!encoded) return std::string(rest);
  const auto value = decode_base64(rest);
  if (!value) throw LdifError{line.number, "invalid base64"};
  return *value;
}

LdapPair read_pair(const Line& line) {
  const std::size_t colon = line.text.find(':');
  if (colon == 0 || colon == std::string::npos)
    throw LdifError{line.number, "expected 'name: value'"};
  return {line.text.substr(0, colon),
          read_value(line, std::string_view(line.text).substr(colon + 1))};
}

class Reader {
 public:
  void take(const Line& line) {
    if (line.text.empty()) return finish();
    LdapPair pair = read_pair(line);
    if (entry_)
      entry_->pairs.push_back(std::move(pair));
    else if (pair.name == "dn")
      begin(line, std::move(pair.value));
    else if (pair.name != "version")
      throw LdifError{line.number, "entry does not start with 'dn:'"};
  }

  std::vector<LdapEntry> entries() { return std::move(entries_); }

 private:
  void begin(const Line& line, std::string dn) {
    entry_ = LdapEntry{std::move(dn)};
    begun_at_ = line.number;
  }

  void finish() {
    if (!entry_) return;
    if (encoded_size(*entry_) > kMaxLdapValue)
      throw LdifError{begun_at_, "entry longer than 65535 bytes"};
    entries_.push_back(*std::exchange(entry_, std::nullopt));
  }

  std::vector<LdapEntry> entries_;
  std::optional<LdapEntry> entry_;
  std::size_t begun_at_ = 0;
};

std::vector<LdapEntry> read_entries(std::istream& file) {
  Reader reader;
  for (const Line& line : read_lines(file))
    reader.take(line);
  return reader.entries();
}

}  // namespace

std::vector<LdapEntry> load_ldif(const std::string& path) {
  std::istringstream file(contents_of(path));
  try {
    return read_entries(file);
  } catch (const LdifError& error) {
    throw std::runtime_error(path + ":" + std::to_string(error.line) + ": " + error.what);
  }
}

}  // namespace aaa_sim
