// Commands that control a running simulator, one on each line.
#pragma once

#include <string>
#include <string_view>

#include "program/command.h"

namespace aaa_sim {

// An empty line does nothing.
CommandResult run_command(AaadSim& sim, std::string_view line);

// One line for each command, as "help" prints it.
std::string command_help();

}  // namespace aaa_sim
