// The events that a client is told, and whether their order makes sense: a loss is told once, and
// what follows it is the new registration.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace soak {

// For reg_info.aaa_event_cb.
int note_link_event(std::uint32_t event);

void forget_link_events();
std::size_t link_events(std::uint32_t event);
std::vector<std::string> link_event_complaints();

}  // namespace soak
