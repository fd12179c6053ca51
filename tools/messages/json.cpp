// Messages for scripts.
#include <nlohmann/json.hpp>

#include "messages/render.h"
#include "messages/value_text.h"

namespace aaa_messages {
namespace {

using Json = nlohmann::ordered_json;

void add_value(Json& object, const Field& field) {
  if (const auto* number = std::get_if<std::uint64_t>(&field.value)) {
    object["value"] = *number;
  } else if (const auto* signed_number = std::get_if<std::int64_t>(&field.value)) {
    object["value"] = *signed_number;
  } else if (const auto* words = std::get_if<Words>(&field.value)) {
    object["value"] = *words;
  } else if (const auto text = text_of(field)) {
    object["value"] = *text;
  } else if (!std::holds_alternative<std::monostate>(field.value)) {
    object["hex"] = hex_of(field);
  }
}

Json field_object(const Field& field, const Rendering& rendering) {
  Json object = {{"name", field.name}};
  if (field.tag) object["tag"] = *field.tag;
  object["offset"] = field.offset;
  object["length"] = field.length;
  if (field.secret) object["secret"] = true;
  if (!field.secret || rendering.secrets) add_value(object, field);
  for (const Field& part : field.fields)
    object["fields"].push_back(field_object(part, rendering));
  return object;
}

}  // namespace

nlohmann::ordered_json to_json(const Decoded& message, const Rendering& rendering) {
  Json object = Json::object();
  if (message.has_header) {
    object["type"] = message.type;
    object["name"] = message.type_name;
    object["id"] = message.id;
    object["body_length"] = message.body_length;
  }
  object["from"] = sender_name(message.sender);
  if (message.socket != Socket::unknown) object["socket"] = socket_name(message.socket);
  if (message.offset != 0) object["offset"] = message.offset;
  object["fields"] = Json::array();
  for (const Field& field : message.fields)
    object["fields"].push_back(field_object(field, rendering));
  for (const Decoded& part : message.messages)
    object["messages"].push_back(to_json(part, rendering));
  if (!message.remarks.empty()) object["remarks"] = message.remarks;
  return object;
}

}  // namespace aaa_messages
