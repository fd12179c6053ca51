// Setters of the shared state, for tests: with the lock that they need.
#pragma once

#include "session/state/client_state.h"
#include "session/state/locks.h"

namespace test {

inline void set_reg_state(aaa_reg_state state) {
  const aaa::ScopedLock lock(aaa_lib_lock);
  aaa::set_reg_state(state);
}

inline void set_model_name(const char* name) {
  const aaa::ScopedLock lock(aaa_lib_lock);
  aaa::set_model_name(name);
}

inline void store_callbacks(const reg_info& info) {
  const aaa::ScopedLock lock(aaa_lib_lock);
  aaa::store_callbacks(info);
}

}  // namespace test
