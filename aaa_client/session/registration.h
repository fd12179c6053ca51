// What the two ways of registering, on a thread and on the client's event loop, have in common.
#pragma once

#include <cstdint>

#include "session/state/locks.h"

namespace aaa {

// Whether both sockets are open or the state is another one than not registered.
bool has_registration_state() REQUIRES(aaa_lib_lock);

// The same, or somebody tries to connect.
bool is_registered_or_trying() REQUIRES(aaa_lib_lock);

// Makes the work directory and the datagram pair. A failure is logged under `log_name`.
bool prepare_endpoints(const char* log_name, std::int32_t (*make_work_dir)())
    REQUIRES(aaa_lib_lock);

// Returns the connection record to its unregistered state after a thread could not be started.
void undo_registration() REQUIRES(aaa_lib_lock);

}  // namespace aaa
