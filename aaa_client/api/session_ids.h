// The block of session ids that is being handed out. It outlives the registration in which it was
// granted.
#pragma once

#include <cstdint>

#include "session/state/locks.h"

namespace aaa {

// The last id handed out; 0 while there is no block.
extern std::uint32_t g_session_id GUARDED_BY(aaa_lib_lock);
// One past the last id of the block.
extern std::uint32_t g_session_id_max GUARDED_BY(aaa_lib_lock);

}  // namespace aaa
