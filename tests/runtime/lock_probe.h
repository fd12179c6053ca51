// Which of the library's locks are held, as another thread finds them.
#pragma once

#include <atomic>
#include <thread>

#include "session/state/locks.h"
#include "support/eventually.h"
#include "support/lock_check.h"

namespace test {

inline bool is_held(pthread_mutex_t& lock) {
  return !is_free(lock);
}

inline bool no_lock_is_held() {
  return !is_held(aaa_lib_lock) && !is_held(aaa_lib_send_buf_lock) &&
         !is_held(aaa::waiting_session_lock) && !is_held(aaa::request_write_lock) &&
         !is_held(aaa::event_write_lock) && !is_held(aaa::event_read_lock);
}

// Whether `call` returns while another thread holds the three locks of the library.
template <class Call>
bool needs_no_lock(Call call) {
  std::atomic<bool> done = false;
  std::thread caller;
  bool in_time = false;
  {
    const aaa::ScopedLock first(aaa_lib_lock);
    const aaa::ScopedLock second(aaa_lib_send_buf_lock);
    caller = std::thread([&] {
      call();
      done = true;
    });
    in_time = eventually([&] { return done.load(); }, std::chrono::seconds(2));
  }
  caller.join();
  return in_time;
}

}  // namespace test
