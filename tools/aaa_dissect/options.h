// The command line.
#pragma once

#include <optional>
#include <string>

#include "printer.h"

namespace aaa_dissect {

enum class Status { done = 0, failed = 1, usage = 64 };

struct Options {
  Style style;
  std::string file;  // empty: standard input
  // None for a capture; else the clients' directory, and the daemon's.
  std::optional<std::string> tap = {};
  std::string directory = {};
  std::string write = {};  // a capture of what is tapped; empty for none
  bool quiet = false;
};

// After --help, --version or an error prints the text, sets the status and returns nothing.
std::optional<Options> parse_options(int argc, char** argv, Status& status);

}  // namespace aaa_dissect
