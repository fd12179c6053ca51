// The registration in agent mode that the tasks of the client's event loop belong to.
#pragma once

#include <cstdint>

#include "transport/atomic_word.h"

namespace aaa {

// The number of the registration in force; 0 while there is none. Written under aaa_lib_lock.
extern std::uint32_t agent_registration;

inline bool agent_mode_is_on() {
  return load(agent_registration) != 0;
}

// REQUIRES: aaa_lib_lock held.
void begin_agent_registration();
void end_agent_registration();

}  // namespace aaa
