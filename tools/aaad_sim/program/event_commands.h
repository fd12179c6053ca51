// Commands that send an unsolicited message to every registered client.
#pragma once

#include <span>

#include "program/command.h"

namespace aaa_sim {

std::span<const Command> event_commands();

}  // namespace aaa_sim
