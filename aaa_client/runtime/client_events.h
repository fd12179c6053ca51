// Client events: what the library tells its client about the connection and aaad's settings.
#pragma once

#include <cstdint>

namespace aaa {

// Calls the client's event callback and returns its result; without one, returns `event`. Takes no
// lock.
int aaa_lib_notify_aaa_event(std::uint32_t event);

}  // namespace aaa
