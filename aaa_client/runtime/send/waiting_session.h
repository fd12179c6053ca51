// The session for which a thread waits in aaa_user_get_result().
#pragma once

#include <cstdint>

#include "session/state/link.h"
#include "session/state/locks.h"

namespace aaa {

// 0 when nobody waits.
extern std::uint32_t g_temp_sid GUARDED_BY(waiting_session_lock);

void set_waiting_session(std::uint32_t session_id);

// When the given link is lost: wakes the waiting thread, if there is one, with a result of code 2.
void aaa_notify_timeout(LinkNumber link);

}  // namespace aaa
