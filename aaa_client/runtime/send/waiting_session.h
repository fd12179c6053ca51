// The session whose result a thread is waiting for in aaa_user_get_result().
#pragma once

#include <cstdint>

#include "session/state/link.h"
#include "session/state/locks.h"

namespace aaa {

// 0 when nobody waits.
extern std::uint32_t g_temp_sid GUARDED_BY(waiting_session_lock);

void set_waiting_session(std::uint32_t session_id);

// Wakes the thread that waits when the given link is lost, if there is one, with a result of code 2
// for its session.
void aaa_notify_timeout(LinkNumber link);

}  // namespace aaa
