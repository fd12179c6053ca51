// The command line.
#pragma once

#include <functional>
#include <optional>

#include "commands.h"

namespace aaa_probe {

struct Command {
  ConnectionOptions connection = {};
  bool is_json = false;
  std::function<Status(const Context&)> run = {};
};

// After --help, --version or an error prints the text, sets the status and returns nothing.
std::optional<Command> parse_options(int argc, char** argv, Status& status);

}  // namespace aaa_probe
