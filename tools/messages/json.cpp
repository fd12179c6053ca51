#include <nlohmann/json.hpp>

#include "messages/render.h"

namespace aaa_messages {

nlohmann::ordered_json to_json(const Decoded& message, const Rendering&) {
  return {{"type", message.type}, {"name", message.type_name}, {"id", message.id}};
}

}  // namespace aaa_messages
