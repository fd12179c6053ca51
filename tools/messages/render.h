// Decoded messages for people and for scripts.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "messages/decoder.h"

namespace aaa_messages {

struct Rendering {
  bool secrets = false;     // else only their lengths are told
  bool all_fields = false;  // in text, fields that are zero or empty too
};

// Lines, each with its end: the message, then its fields and remarks, indented.
std::string to_text(const Decoded& message, const Rendering& rendering = {});

// One object. It has all fields, whatever `all_fields` says.
nlohmann::ordered_json to_json(const Decoded& message, const Rendering& rendering = {});

}  // namespace aaa_messages
