#include "wireshark/expected_fields.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "messages/render.h"

namespace test::dissector {
namespace {

using aaa_messages::Decoded;
using aaa_messages::Field;

std::string octets_text(const aaa_messages::Octets& octets) {
  std::string text;
  char digits[4];
  for (const std::uint8_t octet : octets) {
    std::snprintf(digits, sizeof digits, "%02x", octet);
    text += (text.empty() ? "" : ":") + std::string(digits);
  }
  return text;
}

std::string text_of(const aaa_messages::Value& value) {
  if (const auto* number = std::get_if<std::uint64_t>(&value)) return std::to_string(*number);
  if (const auto* number = std::get_if<std::int64_t>(&value)) return std::to_string(*number);
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* octets = std::get_if<aaa_messages::Octets>(&value)) return octets_text(*octets);
  return "";
}

class Lines {
 public:
  void message(const Decoded& message, int depth) {
    if (message.has_header) header(message, depth);
    for (const Field& field : message.fields)
      this->field(field, depth);
    for (const Decoded& part : message.messages) {
      add("message", "", part.offset, size_of(part), depth);
      this->message(part, depth + 1);
    }
  }

  std::vector<ShownField> take() { return std::move(fields_); }

 private:
  // Up to its last field: messages in batches have nothing behind it.
  static std::size_t size_of(const Decoded& message) {
    std::size_t end = message.offset + 16;
    for (const Field& field : message.fields)
      end = std::max(end, field.offset + field.length);
    return end - message.offset;
  }

  void header(const Decoded& message, int depth) {
    add("marker", "0x01010101", message.offset, 4, depth);
    add("id", std::to_string(message.id), message.offset + 4, 4, depth);
    add("type", std::to_string(message.type), message.offset + 8, 4, depth);
    add("length", std::to_string(message.body_length), message.offset + 12, 4, depth);
  }

  void field(const Field& field, int depth) {
    const std::string label =
        field.name + (field.tag ? " (" + std::to_string(*field.tag) + ")" : "");
    if (field.secret) {
      add(field.name + ".secret", std::to_string(field.length), field.offset, field.length, depth,
          label);
    } else if (const auto* words = std::get_if<aaa_messages::Words>(&field.value)) {
      for (std::size_t i = 0; i < words->size(); ++i)
        add(field.name, std::to_string((*words)[i]), field.offset + 4 * i, 4, depth, label);
    } else {
      add(field.name, text_of(field.value), field.offset, field.length, depth, label);
    }
    for (const Field& part : field.fields)
      this->field(part, depth + 1);
  }

  void add(const std::string& name, const std::string& show, std::size_t offset, std::size_t length,
           int depth, const std::string& label = "") {
    fields_.push_back({name, label.empty() ? name : label, show, std::to_string(offset),
                       std::to_string(length), depth});
  }

  std::vector<ShownField> fields_;
};

}  // namespace

std::vector<ShownField> expected_shown_fields(const Decoded& message) {
  Lines lines;
  lines.message(message, 0);
  return lines.take();
}

std::vector<std::string> expected_remarks(const Decoded& message) {
  std::vector<std::string> remarks;
  for (const Decoded& part : message.messages) {
    const auto more = expected_remarks(part);
    remarks.insert(remarks.end(), more.begin(), more.end());
  }
  remarks.insert(remarks.end(), message.remarks.begin(), message.remarks.end());
  return remarks;
}

}  // namespace test::dissector
