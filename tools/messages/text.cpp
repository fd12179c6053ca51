#include "messages/render.h"

namespace aaa_messages {

std::string to_text(const Decoded& message, const Rendering&) {
  return std::to_string(message.type) + " (" + message.type_name + ")\n";
}

}  // namespace aaa_messages
