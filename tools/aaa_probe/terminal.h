// Questions to the user, on the terminal that controls the process.
#pragma once

#include <optional>
#include <string>

#include "secret.h"

namespace aaa_probe {

// The line that the user types, without echo. Nothing when the process
// has no terminal or the user ends the input. A signal that ends the program restores the echo
// first.
std::optional<Secret> ask_on_terminal(const std::string& prompt);

// The rest of the line at a descriptor, without its end. Nothing at the end of the input; throws
// Failure for a line that is too long for a password.
std::optional<Secret> read_line(int descriptor);

}  // namespace aaa_probe
