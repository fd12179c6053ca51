#include "runtime/detached_thread.h"

#include "transport/atomic_word.h"

namespace aaa {

ThreadStart start_detached(pthread_t& thread, void* (*routine)(void*)) {
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return ThreadStart::no_attributes;
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t started = {};
  const int error = pthread_create(&started, &attributes, routine, nullptr);
  pthread_attr_destroy(&attributes);
  if (error != 0) return ThreadStart::no_thread;
  store(thread, started);
  return ThreadStart::started;
}

}  // namespace aaa
