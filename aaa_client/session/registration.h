// What the two ways of registering, on a thread and on the client's event loop, have in common.
#pragma once

#include <cstdint>

namespace aaa {

// Whether both sockets are open or the state is another one than not registered.
// REQUIRES: aaa_lib_lock held.
bool has_registration_state();

// The same, or somebody tries to connect. REQUIRES: aaa_lib_lock held.
bool is_registered_or_trying();

// Makes the work directory and the datagram pair. A failure is logged under `log_name`.
// REQUIRES: aaa_lib_lock held.
bool prepare_endpoints(const char* log_name, std::int32_t (*make_work_dir)());

// Returns the connection record to its unregistered state after a thread could not be started.
// REQUIRES: aaa_lib_lock held.
void undo_registration();

}  // namespace aaa
