// The words of a command, and reading them.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"

namespace aaa_sim {

using Words = std::vector<std::string>;

// Thrown for words that cannot be read; becomes the command's error line.
struct BadWord {
  std::string what;
};

template <typename Value>
Value need(std::optional<Value> value, const std::string& word, const char* kind) {
  if (!value) throw BadWord{"'" + word + "' is not " + kind};
  return *std::move(value);
}

// Each throws BadWord.
std::uint32_t number(const std::string& word);
std::uint32_t message_type(const std::string& word);
Bytes bytes(const std::string& word);
Role role(const std::string& word);
bool on_or_off(const std::string& word);

// The bytes in the word at `index`; none when there are fewer words.
Bytes bytes_at(const Words& words, std::size_t index);

// A word that may be left out by typing "-".
std::string optional_text(const std::string& word);

// An error when nobody was there to send to.
CommandResult sent_to(std::size_t connections);

struct Command {
  std::string_view name;
  std::size_t min_words;
  std::size_t max_words;
  const char* words;
  const char* purpose;
  CommandResult (*run)(AaadSim&, const Words&);
};

// As many words as one likes.
inline constexpr std::size_t kManyWords = 1000;

}  // namespace aaa_sim
