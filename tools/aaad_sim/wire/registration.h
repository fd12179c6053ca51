// The body of a register request.
#pragma once

#include <string>

#include "wire/message.h"

namespace aaa_sim {

// Which connection of which client: role, model, NUL.
struct Registration {
  Role role = Role::none;  // none for a malformed body
  std::string model = {};
};

Registration parse_registration(View body);

}  // namespace aaa_sim
