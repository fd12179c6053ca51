// The send buffer, which batches requests into one message, and its flush thread. The functions on
// the buffer are declared in aaa_client.h.
#pragma once

#include "aaa_client.h"
#include "session/state/locks.h"

// As in aaa_client.h.
extern "C" aaa_send_buf aaalib_send_buf GUARDED_BY(aaa_lib_send_buf_lock);
extern "C" std::uint32_t g_send_buf_msg_cnt GUARDED_BY(aaa_lib_send_buf_lock);
extern "C" std::uint8_t g_send_buf_init GUARDED_BY(aaa_lib_send_buf_lock);

namespace aaa {

// Whether requests are batched: a flush thread exists.
bool send_buffer_is_used();

// aaa_lib_add_send_buf().
void add_to_send_buffer(const void* message, std::uint32_t length) REQUIRES(aaa_lib_send_buf_lock);

// Cancels the flush thread, if there is one, and empties the buffer. Returns whether there was one.
bool aaalib_stop_send_buf_thread();

}  // namespace aaa
