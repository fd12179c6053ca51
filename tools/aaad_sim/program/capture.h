// --capture.
#pragma once

#include <string>

#include "server/journal.h"

namespace aaa_sim {

// What writes messages to a file. Throws std::system_error when it cannot be made.
decltype(Output::capture) capture_to(const std::string& path, bool with_secrets);

}  // namespace aaa_sim
