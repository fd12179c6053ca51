// What can be typed at a running simulator, one command a line.
#pragma once

#include <string>
#include <string_view>

#include "aaad_sim.h"

namespace aaa_sim {

struct CommandResult {
  std::string error = {};   // one line; empty: done
  std::string output = {};  // lines to print
  bool quit = false;
};

// An empty line does nothing.
CommandResult run_command(AaadSim& sim, std::string_view line);

// One line for each command, as "help" prints it.
std::string command_help();

}  // namespace aaa_sim
