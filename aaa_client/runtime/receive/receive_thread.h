// The receive thread: reads the event socket, runs the client's callbacks, keeps the heartbeat, and
// registers again after a loss.
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

// Cancels the receive thread, if there is one, and returns whether there was. It may run until its
// next wait, but reads no more messages and touches no state.
bool aaalib_cancel_receive_thread() REQUIRES(aaa_lib_lock);

// The start routine of the receive thread. Returns null.
void* aaa_lib_thread(void* unused);

// Connects and registers, retrying every 2 seconds until it succeeds or the client deregisters.
// Runs on the receive thread. `stamp` is its watchdog stamp, null before it has joined the
// watchdog.
void aaa_svr_rereg(std::uint32_t* stamp);

}  // namespace aaa
