// What registration in thread mode and in agent mode share.
#pragma once

#include <cstdint>

#include "session/state/locks.h"

namespace aaa {

// Whether both sockets are open or the state is not AAA_REG_NOT_REGISTERED.
bool has_registration_state() REQUIRES(aaa_lib_lock);

// The same, or a receive thread or agent mode is trying to connect.
bool is_registered_or_trying() REQUIRES(aaa_lib_lock);

// Cancels a receive thread that has not yet noticed that the client deregistered.
void dismiss_leaving_thread() REQUIRES(aaa_lib_lock);

// How many threads belong to the current registration: one that continues after a failed
// deregistration, or that the client has made in its callback.
unsigned threads_of_registration();

// Makes the work directory and the datagram pair. A failure is logged under `log_name`.
bool prepare_endpoints(const char* log_name, std::int32_t (*make_work_dir)())
    REQUIRES(aaa_lib_lock);

// Resets the connection record after a thread could not be started.
void undo_registration() REQUIRES(aaa_lib_lock);

}  // namespace aaa
