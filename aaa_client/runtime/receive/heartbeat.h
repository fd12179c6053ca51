// The heartbeat: its two clocks, and the decisions that the receive thread and agent mode make.
#pragma once

#include <cstdint>

#include "session/state/link.h"

namespace aaa {

// Heartbeats are exchanged only with an id in the range that aaad monitors.
bool heartbeat_is_kept();

// Whether aaad has been silent for more than 180 seconds, whether the last heartbeat was sent more
// than 60 seconds ago.
bool aaad_is_silent(std::uint32_t now);
bool heartbeat_is_due(std::uint32_t now);

// Restarts the silence limit from now, with no heartbeat sent yet.
void rearm_heartbeat();

// Sends a heartbeat on the given link and notes `now`. A failed write is ignored.
void send_heartbeat(LinkNumber link, std::uint32_t now);

}  // namespace aaa
