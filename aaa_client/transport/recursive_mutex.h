// Making a recursive mutex.
#pragma once

#include <pthread.h>

#include <cstdint>

namespace aaa {

// Returns 0 or the errno value of the failure, which it logs past the debug gate when the mutex
// itself could not be made.
std::int32_t aaa_lib_recursive_mutex_init(pthread_mutex_t* mutex);

}  // namespace aaa
