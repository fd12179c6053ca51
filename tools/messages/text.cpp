// Messages for people.
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "messages/render.h"
#include "messages/value_text.h"

namespace aaa_messages {
namespace {

std::string in_quotes(std::string_view text) {
  std::string result = "\"";
  for (const char character : text) {
    switch (character) {
      case '\n':
        result += "\\n";
        break;
      case '\r':
        result += "\\r";
        break;
      case '\t':
        result += "\\t";
        break;
      case '"':
      case '\\':
        result += '\\';
        [[fallthrough]];
      default:
        result += character;
    }
  }
  return result + '"';
}

std::string words_text(const Words& words) {
  std::string result;
  for (const std::uint32_t word : words)
    result += (result.empty() ? "" : " ") + std::to_string(word);
  return result;
}

std::string value_text(const Field& field) {
  if (const auto* words = std::get_if<Words>(&field.value)) return words_text(*words);
  if (const auto number = number_of(field)) return *number;
  if (const auto text = text_of(field)) return in_quotes(*text);
  return std::holds_alternative<std::monostate>(field.value) ? "" : "0x" + hex_of(field);
}

// Fields that say nothing: zeros and nothing.
bool is_empty(const Field& field) {
  if (!field.fields.empty()) return false;
  if (field.secret) return field.length == 0;
  if (const auto* words = std::get_if<Words>(&field.value))
    return words_text(*words).find_first_not_of("0 ") == std::string::npos;
  if (const auto number = number_of(field)) return *number == "0";
  const auto text = text_of(field);
  return text && text->empty();
}

class Writer {
 public:
  explicit Writer(const Rendering& rendering) : rendering_(rendering) {}

  void message(const Decoded& message, std::size_t depth) {
    line(depth, headline(message));
    fields(message.fields, depth + 1);
    for (const Decoded& part : message.messages)
      this->message(part, depth + 1);
    for (const std::string& remark : message.remarks)
      line(depth + 1, "! " + remark);
  }

  std::string take() { return std::move(text_); }

 private:
  static std::string headline(const Decoded& message) {
    if (!message.has_header) return "no message";
    std::string text = std::to_string(message.type) + " (" + message.type_name + ") id " +
                       std::to_string(message.id) + ", " + std::to_string(message.body_length) +
                       " bytes, from " + std::string(sender_name(message.sender));
    if (message.socket != Socket::unknown)
      text += " on the " + std::string(socket_name(message.socket)) + " socket";
    return text;
  }

  void fields(const std::vector<Field>& fields, std::size_t depth) {
    std::size_t empty = 0;
    for (const Field& field : fields) {
      if (!rendering_.all_fields && is_empty(field)) {
        ++empty;
      } else {
        this->field(field, depth);
      }
    }
    if (empty > 0)
      line(depth, "(" + std::to_string(empty) + (empty == 1 ? " field is" : " fields are") +
                      " zero or empty)");
  }

  void field(const Field& field, std::size_t depth) {
    std::array<char, 48> place;
    std::snprintf(place.data(), place.size(), "%5zu %5zu  ", field.offset, field.length);
    std::string text = place.data() + field.name;
    if (field.tag) text += " (" + std::to_string(*field.tag) + ")";
    if (field.secret && !rendering_.secrets) {
      text += " secret";
    } else if (const std::string value = value_text(field); !value.empty()) {
      text += " " + value;
    }
    line(depth, text);
    fields(field.fields, depth + 1);
  }

  void line(std::size_t depth, std::string_view text) {
    text_.append(2 * depth, ' ').append(text).append("\n");
  }

  const Rendering& rendering_;
  std::string text_;
};

}  // namespace

std::string to_text(const Decoded& message, const Rendering& rendering) {
  Writer writer(rendering);
  writer.message(message, 0);
  return writer.take();
}

}  // namespace aaa_messages
