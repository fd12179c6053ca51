// The clock that the watchdog's stamps are taken from.
#pragma once

#include <cstdint>

namespace aaa {

// The system's uptime in seconds.
std::uint32_t uptime_seconds();

}  // namespace aaa
