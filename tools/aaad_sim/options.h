// The program's command line.
#pragma once

#include <optional>
#include <string>

#include "settings.h"

namespace aaa_sim {

struct Options {
  std::string directory;
  bool control = false;
  bool quiet = false;
  Settings settings;
};

// What the command line says. When it asks for help or the version, or is wrong:
// prints that, and returns nothing but the exit status.
std::optional<Options> parse_options(int argc, char** argv, int& exit_status);

}  // namespace aaa_sim
