// Which of the library's locks are held, as another thread finds them.
#pragma once

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "session/state/locks.h"
#include "support/eventually.h"

namespace test {

// In the order in which they are taken; the last stands alone.
inline const std::vector<std::pair<std::string, pthread_mutex_t*>> every_lock = {
    {"aaa_lib_lock", &aaa_lib_lock},
    {"aaa_lib_send_buf_lock", &aaa_lib_send_buf_lock},
    {"request_write_lock", &aaa::request_write_lock},
    {"event_write_lock", &aaa::event_write_lock},
    {"event_read_lock", &aaa::event_read_lock},
    {"link_number_lock", &aaa::link_number_lock},
    {"waiting_session_lock", &aaa::waiting_session_lock},
};

inline std::vector<std::string> locks_held() {
  std::vector<std::string> held;
  std::thread([&] {
    for (const auto& [name, lock] : every_lock) {
      if (pthread_mutex_trylock(lock) != 0)
        held.push_back(name);
      else
        pthread_mutex_unlock(lock);
    }
  }).join();
  return held;
}

inline bool all_locks_are_free() {
  return locks_held().empty();
}

inline bool is_free(pthread_mutex_t& lock) {
  bool free = false;
  std::thread([&] {
    free = pthread_mutex_trylock(&lock) == 0;
    if (free) pthread_mutex_unlock(&lock);
  }).join();
  return free;
}

// Whether `call` returns on another thread while this one holds the first `count` locks.
template <class Call>
bool returns_under_locks(std::size_t count, Call call) {
  for (std::size_t n = 0; n < count; ++n)
    pthread_mutex_lock(every_lock[n].second);
  std::atomic<bool> returned = false;
  std::thread caller([&] {
    call();
    returned = true;
  });
  const bool in_time = eventually([&] { return returned.load(); });
  for (std::size_t n = 0; n < count; ++n)
    pthread_mutex_unlock(every_lock[n].second);
  caller.join();
  return in_time;
}

}  // namespace test
