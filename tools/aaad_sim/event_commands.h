// Commands that send the messages of event_messages.h to every registered client.
#pragma once

#include <span>

#include "command_words.h"

namespace aaa_sim {

std::span<const Command> event_commands();

}  // namespace aaa_sim
