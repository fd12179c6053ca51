// --fields.
#pragma once

#include <string>

#include "wire/message.h"

namespace aaa_sim {

// A line for each field of a message, each with the end of the line before it. Passwords and keys
// are left out. Nothing for a batch, whose messages are printed one by one.
std::string fields_of(const Message& message);

}  // namespace aaa_sim
