// The connection record and aaad's status words: state that the whole library shares.
//
//   model_name          written under aaa_lib_lock, read through ModelName
//   sync_fd, async_fd   written under aaa_lib_lock and the socket's own locks
//   aaa_id, reg_state   written under aaa_lib_lock
//   callback slots      written under aaa_lib_lock
//   g_aaa_status        written by registration and by messages; new_model, debug and
//                       debug_msg_limit by any thread
//
// Each word may be read without a lock, with load() of transport/base/atomic_word.h.
#pragma once

#include <cstdint>

#include "aaa_client.h"
#include "session/state/locks.h"
#include "transport/base/atomic_word.h"

namespace aaa {

// A copy of the current model name.
struct ModelName {
  ModelName();
  char text[AAA_MODEL_NAME_SIZE];
};

// Stores at most 63 characters of `name` and a NUL.
void set_model_name(const char* name) REQUIRES(aaa_lib_lock);

// The only setter of the registration state.
void set_reg_state(aaa_reg_state state) REQUIRES(aaa_lib_lock);
inline std::int32_t reg_state() {
  return load(g_aaa_client_cb.reg_state);
}

// Whether the client has deregistered. The loops that serve it check this flag and end. Without
// aaa_lib_lock the answer may be stale.
inline bool is_deregistered() {
  return load(g_aaa_client_cb.aaa_id) == -1;
}

void set_aaa_id(std::int32_t id) REQUIRES(aaa_lib_lock);

// Stores the sixteen callbacks of a registration record.
void store_callbacks(const reg_info& info) REQUIRES(aaa_lib_lock);

// Overwrites the ten status words.
void store_status(const aaa_status& status);

// Clears all callbacks except the two for LDAP searches, which outlive a registration.
void clear_callbacks() REQUIRES(aaa_lib_lock);

}  // namespace aaa
