// The block of session ids that is being handed out. Guarded by aaa_lib_lock; it outlives the
// registration in which it was granted.
#pragma once

#include <cstdint>

namespace aaa {

// The last id handed out; 0 while there is no block.
extern std::uint32_t g_session_id;
// One past the last id of the block.
extern std::uint32_t g_session_id_max;

}  // namespace aaa
