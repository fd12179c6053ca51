#include "program/command.h"

#include "program/texts.h"

namespace aaa_sim {

std::uint32_t number(const std::string& word) {
  return need(parse_number(word), word, "a number");
}

std::uint32_t message_type(const std::string& word) {
  return need(parse_message_type(word), word, "a message type");
}

Bytes bytes(const std::string& word) {
  return need(parse_hex(word), word, "hexadecimal bytes");
}

Role role(const std::string& word) {
  return need(parse_role(word), word, "request or event");
}

bool on_or_off(const std::string& word) {
  if (word != "on" && word != "off") throw BadWord{"'" + word + "' is not on or off"};
  return word == "on";
}

Bytes bytes_at(const Words& words, std::size_t index) {
  return words.size() > index ? bytes(words[index]) : Bytes{};
}

std::string optional_text(const std::string& word) {
  return word == "-" ? "" : word;
}

CommandResult sent_to(std::size_t connections) {
  if (connections == 0) return {.error = "no client is registered"};
  return {};
}

}  // namespace aaa_sim
