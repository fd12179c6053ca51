// Results for a thread that waits in aaa_user_get_result(): the session for which it waits, and the
// pair of datagram sockets that passes them to it. aaa_client.h declares aaa_lib_msg_socket_init(),
// which creates the pair, and aaa_lib_send_msg().
#pragma once

#include <cstdint>

#include "session/state/link.h"
#include "session/state/locks.h"

namespace aaa {

// 1 once the datagram pair is ready; never cleared.
extern std::uint8_t g_msg_socket_ok;

// 0 when no thread waits.
extern std::uint32_t g_temp_sid GUARDED_BY(waiting_session_lock);

void set_waiting_session(std::uint32_t session_id);

// After a failed read on the given link: wakes the waiting thread, if any, with a result of code 2.
void aaa_notify_timeout(LinkNumber link);

}  // namespace aaa
