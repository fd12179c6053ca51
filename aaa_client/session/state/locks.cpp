#include "session/state/locks.h"

#include <atomic>
#include <cassert>
#include <cerrno>
#include <cstring>

#include "aaa_client.h"
#include "transport/base/ungated_log.h"

// Valid from load on: a client may use the two exported ones before it registers.
aaa::Mutex aaa_lib_lock = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
aaa::Mutex aaa_lib_send_buf_lock = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

namespace aaa {

Mutex waiting_session_lock = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
Mutex request_write_lock = PTHREAD_MUTEX_INITIALIZER;
Mutex event_write_lock = PTHREAD_MUTEX_INITIALIZER;
Mutex event_read_lock = PTHREAD_MUTEX_INITIALIZER;
Mutex link_number_lock = PTHREAD_MUTEX_INITIALIZER;

std::uint8_t g_mutex_init = 0;

namespace {

Mutex init_lock = PTHREAD_MUTEX_INITIALIZER;
Mutex* const recursive_locks[] = {&aaa_lib_lock, &aaa_lib_send_buf_lock, &waiting_session_lock};

const Mutex as_at_load = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

// The thread that holds the mutex, 0 when none does. POSIX has no call for this.
#ifdef __GLIBC__
std::int32_t owner_of(const Mutex& mutex) {
  return __atomic_load_n(&mutex.__data.__owner, __ATOMIC_RELAXED);
}
#else
std::int32_t owner_of(const Mutex&) {
  return thread_id();
}
#endif

// A lock that is held stays as it is. When an initialisation fails, that lock and the following
// ones keep their static initialisation.
std::int32_t make_locks() {
  for (Mutex* lock : recursive_locks) {
    if (owner_of(*lock) != 0 || aaa_lib_recursive_mutex_init(lock) == 0) continue;
    std::memcpy(lock, &as_at_load, sizeof as_at_load);
    return -1;
  }
  return 0;
}

bool locks_are_made() {
  return std::atomic_ref<std::uint8_t>(g_mutex_init).load(std::memory_order_acquire) != 0;
}

bool is_recursive(const Mutex& mutex) {
  for (const Mutex* lock : recursive_locks)
    if (lock == &mutex) return true;
  return false;
}

}  // namespace

bool is_held(const Mutex& mutex) {
  return owner_of(mutex) == thread_id();
}

void lock(Mutex& mutex) NO_THREAD_SAFETY_ANALYSIS {
  pthread_mutex_lock(&mutex);
}
void unlock(Mutex& mutex) NO_THREAD_SAFETY_ANALYSIS {
  pthread_mutex_unlock(&mutex);
}

// The locks are initialised before the library takes one of them for the first time, so no thread
// of the library can hold one at that moment.
InnerLock::InnerLock(Mutex& mutex) : mutex_(mutex) {
  assert(cancellation_is_disabled());
  if (!locks_are_made() && is_recursive(mutex)) aaa_lib_mutex_init();
  pthread_mutex_lock(&mutex_);
}

InnerLock::~InnerLock() {
  pthread_mutex_unlock(&mutex_);
}

ScopedLock::ScopedLock(Mutex& mutex) NO_THREAD_SAFETY_ANALYSIS
    : no_cancellation_(PTHREAD_CANCEL_DISABLE),
      lock_(mutex) {}

ScopedLock::~ScopedLock() NO_THREAD_SAFETY_ANALYSIS {}

}  // namespace aaa

std::int32_t aaa_lib_mutex_init() {
  using namespace aaa;
  if (locks_are_made()) return 0;
  const CancellationScope no_cancellation(PTHREAD_CANCEL_DISABLE);
  pthread_mutex_lock(&init_lock);
  std::int32_t result = 0;
  if (!locks_are_made()) {
    result = make_locks();
    if (result == 0) {
      std::atomic_ref<std::uint8_t>(g_mutex_init).store(1, std::memory_order_release);
    }
  }
  pthread_mutex_unlock(&init_lock);
  return result;
}

std::int32_t aaa_lib_recursive_mutex_init(pthread_mutex_t* mutex) {
  if (mutex == nullptr) return EINVAL;
  pthread_mutexattr_t attributes;
  const int attributes_error = pthread_mutexattr_init(&attributes);
  if (attributes_error != 0) return attributes_error;
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  const int error = pthread_mutex_init(mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  if (error != 0) {
    printk_syslog_ext(aaa::log_priority, "UNKNOW_MODULE", "DEBUG", aaa::log_kind_ungated,
                      "pthread_mutex_init fail return %d error %s exit.\n", error,
                      std::strerror(error));
  }
  return error;
}
