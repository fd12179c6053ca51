// The receive thread: owns the event socket, runs the client's callbacks, keeps the heartbeat, and
// registers again when the connection is lost.
#pragma once

#include <cstdint>

#include "aaa_client.h"
#include "session/state/link.h"
#include "session/state/locks.h"

namespace aaa {

// The processor that the receive thread is bound to; not bound when 0 or below.
extern std::int32_t g_aaalib_bind_core_id;

// Starts the receive thread. Returns 0 or -1.
std::int32_t aaalib_init_main_thread() REQUIRES(aaa_lib_lock);

// Cancels the receive thread, if there is one, and returns whether there was. It may go on until
// its next wait, but reads no message and touches no state any more.
bool aaalib_cancel_receive_thread() REQUIRES(aaa_lib_lock);

// Raises an event on the receive thread, in its turn; not if it has been told to end meanwhile.
void tell_client(aaa_client_event event);

// The start routine of the receive thread. Returns null.
void* aaa_lib_thread(void* unused);

// Connects and registers again, every 2 seconds until it succeeds or the client deregisters.
// `stamp` is the calling thread's watchdog stamp, null when it has no watchdog to feed. Runs on the
// receive thread.
void aaa_svr_rereg(std::uint32_t* stamp);

}  // namespace aaa
