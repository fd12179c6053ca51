// The command line.
#pragma once

#include <optional>
#include <string>

#include "backend/settings.h"

namespace aaa_sim {

struct Options {
  std::string directory;
  bool control = false;
  bool quiet = false;
  bool fields = false;
  std::string capture;  // the file; empty for none
  bool capture_secrets = false;
  Settings settings;
};

// After --help, --version or an error prints the text, sets the exit status and returns nothing.
std::optional<Options> parse_options(int argc, char** argv, int& exit_status);

}  // namespace aaa_sim
