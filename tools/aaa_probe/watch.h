// Prints what aaad sends to clients without being asked.
#pragma once

#include "commands.h"

namespace aaa_probe {

// Until SIGINT or SIGTERM. Does not answer aaad's questions.
Status watch(const Context& context);

}  // namespace aaa_probe
