// Starting a detached thread.
#pragma once

#include <pthread.h>

namespace aaa {

enum class ThreadStart { started, no_attributes, no_thread };

// Starts a detached thread with a null argument and stores its id, which stays 0 on failure.
ThreadStart start_detached(pthread_t& thread, void* (*routine)(void*));

}  // namespace aaa
