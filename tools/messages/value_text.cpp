#include "messages/value_text.h"

#include "aaa_probe/bytes.h"

namespace aaa_messages {
namespace {

std::string_view bytes_of(const Field& field) {
  if (const auto* text = std::get_if<std::string>(&field.value)) return *text;
  if (const auto* octets = std::get_if<Octets>(&field.value))
    return {reinterpret_cast<const char*>(octets->data()), octets->size()};
  return {};
}

bool has_bytes(const Field& field) {
  return std::holds_alternative<std::string>(field.value) ||
         std::holds_alternative<Octets>(field.value);
}

}  // namespace

std::string_view sender_name(Sender sender) {
  return sender == Sender::client ? "client" : "aaad";
}

std::string_view socket_name(Socket socket) {
  switch (socket) {
    case Socket::request:
      return "request";
    case Socket::event:
      return "event";
    case Socket::unknown:
      break;
  }
  return "";
}

std::optional<std::string> number_of(const Field& field) {
  if (const auto* number = std::get_if<std::uint64_t>(&field.value)) return std::to_string(*number);
  if (const auto* number = std::get_if<std::int64_t>(&field.value)) return std::to_string(*number);
  return std::nullopt;
}

std::optional<std::string> text_of(const Field& field) {
  if (!has_bytes(field)) return std::nullopt;
  std::string_view bytes = bytes_of(field);
  if (!field.tag) bytes = bytes.substr(0, bytes.find_last_not_of('\0') + 1);
  if (!aaa_probe::is_text(bytes)) return std::nullopt;
  return std::string(bytes);
}

std::string hex_of(const Field& field) {
  return aaa_probe::to_hex(bytes_of(field));
}

}  // namespace aaa_messages
