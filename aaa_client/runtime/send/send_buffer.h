// The send buffer, which gathers requests into one message, and its flush thread. The functions
// that work on the buffer are declared in aaa_client.h.
#pragma once

#include "aaa_client.h"

namespace aaa {

// Whether requests go into the buffer.
bool send_buffer_is_used();

// Cancels the flush thread, if there is one, and drops what the buffer holds. Returns whether there
// was one.
bool aaalib_stop_send_buf_thread();

}  // namespace aaa
