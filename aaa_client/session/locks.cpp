#include "session/locks.h"

#include <atomic>

#include "transport/recursive_mutex.h"

pthread_mutex_t aaa_lib_lock;
pthread_mutex_t aaa_lib_send_buf_lock;

namespace aaa {

pthread_mutex_t waiting_session_lock;
pthread_mutex_t link_write_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t link_read_lock = PTHREAD_MUTEX_INITIALIZER;

std::uint8_t g_mutex_init = 0;

namespace {

pthread_mutex_t init_lock = PTHREAD_MUTEX_INITIALIZER;

std::int32_t make_locks() {
  pthread_mutex_t* const locks[] = {&aaa_lib_lock, &aaa_lib_send_buf_lock, &waiting_session_lock};
  int made = 0;
  for (pthread_mutex_t* lock : locks) {
    if (aaa_lib_recursive_mutex_init(lock) != 0) break;
    ++made;
  }
  if (made == 3) return 0;
  while (made > 0)
    pthread_mutex_destroy(locks[--made]);
  return -1;
}

bool locks_exist() {
  return std::atomic_ref<std::uint8_t>(g_mutex_init).load(std::memory_order_acquire) != 0;
}

bool is_recursive(const pthread_mutex_t& mutex) {
  return &mutex != &link_write_lock && &mutex != &link_read_lock;
}

}  // namespace

std::int32_t aaa_lib_mutex_init() {
  if (locks_exist()) return 0;
  const CancellationScope no_cancellation(PTHREAD_CANCEL_DISABLE);
  pthread_mutex_lock(&init_lock);
  std::int32_t result = 0;
  if (!locks_exist()) {
    result = make_locks();
    if (result == 0) {
      std::atomic_ref<std::uint8_t>(g_mutex_init).store(1, std::memory_order_release);
    }
  }
  pthread_mutex_unlock(&init_lock);
  return result;
}

ScopedLock::ScopedLock(pthread_mutex_t& mutex)
    : no_cancellation_(PTHREAD_CANCEL_DISABLE), mutex_(&mutex) {
  // A lock that could not be made is not taken: the call goes on unprotected, as it must when
  // registration ignores the failure.
  if (is_recursive(mutex) && aaa_lib_mutex_init() != 0) mutex_ = nullptr;
  if (mutex_ != nullptr) pthread_mutex_lock(mutex_);
}

ScopedLock::~ScopedLock() {
  if (mutex_ != nullptr) pthread_mutex_unlock(mutex_);
}

}  // namespace aaa
