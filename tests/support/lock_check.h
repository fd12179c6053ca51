// Whether a lock is free, asked from a thread that does not hold it.
#pragma once

#include <pthread.h>

#include <thread>

namespace test {

inline bool is_free(pthread_mutex_t& lock) {
  bool free = false;
  std::thread([&] {
    free = pthread_mutex_trylock(&lock) == 0;
    if (free) pthread_mutex_unlock(&lock);
  }).join();
  return free;
}

}  // namespace test
