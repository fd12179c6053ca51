// A command, and the parsers of its words, which throw BadWord.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "aaad_sim.h"

namespace aaa_sim {

struct CommandResult {
  std::string error = {};   // one line; empty after success
  std::string output = {};  // lines to print
  bool quit = false;
};

using Words = std::vector<std::string>;

// Becomes the error line of the command.
struct BadWord {
  std::string what;
};

template <typename Value>
Value need(std::optional<Value> value, const std::string& word, const char* kind) {
  if (!value) throw BadWord{"'" + word + "' is not " + kind};
  return *std::move(value);
}

std::uint32_t number(const std::string& word);
std::uint32_t message_type(const std::string& word);
Bytes bytes(const std::string& word);
Role role(const std::string& word);
bool on_or_off(const std::string& word);

// Empty when there are fewer words.
Bytes bytes_at(const Words& words, std::size_t index);

// "-" means empty.
std::string optional_text(const std::string& word);

// An error if there was no connection to send on.
CommandResult sent_to(std::size_t connections);

struct Command {
  std::string_view name;
  std::size_t min_words;
  std::size_t max_words;
  const char* words;
  const char* purpose;
  CommandResult (*run)(AaadSim&, const Words&);
};

// No limit.
inline constexpr std::size_t kManyWords = 1000;

}  // namespace aaa_sim
