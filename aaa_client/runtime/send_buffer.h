// The send buffer, which gathers requests into one message, and its flush thread. The functions
// that work on the buffer are declared in aaa_client.h.
#pragma once

#include <pthread.h>

#include <cstdint>

#include "aaa_client.h"

// Non-zero exactly while the flush thread runs. Written under aaa_lib_send_buf_lock.
extern "C" AAA_API pthread_t g_send_buf_tid;

namespace aaa {

// Whether requests go into the buffer.
bool send_buffer_is_used();

// Starts the flush thread. Returns 0 or -1.
std::int32_t aaalib_init_send_buf_thread();

// Cancels the flush thread, if there is one, and drops what the buffer holds. Returns whether there
// was one.
bool aaalib_stop_send_buf_thread();

}  // namespace aaa
