// The library's locks, in the order in which they are taken:
//
//   1. aaa_lib_lock           connection record, sockets, every exchange on the request socket
//   2. aaa_lib_send_buf_lock  the send buffer
//   3. request_write_lock     one frame's write on the request socket, or the socket's close
//   4. event_write_lock       one frame's write on the event socket, or the socket's close
//   5. event_read_lock        one message's read from the event socket, or the socket's close
//   6. link_number_lock       the end of a link, or a change that only its messages may make
//
// waiting_session_lock guards g_temp_sid alone and is never held together with another lock. The
// register of threads (runtime/library_threads.cpp) has one that comes after all of these.
// docs/architecture.md says what may wait under which lock.
//
// Locks 3 to 5 keep a descriptor number alive while it is used: nobody closes a socket, so that the
// host process could get its number, between the moment a thread reads the number and the end of
// that thread's system call. Whoever closes shuts the socket down first, which ends a blocked read
// or write at once.
#pragma once

#include <pthread.h>

#include <cstdint>

#include "aaa_client.h"
#include "session/state/thread_annotations.h"
#include "transport/base/cancellation.h"

namespace aaa {

// A mutex that the analysis follows. Functions that say REQUIRES() are called with it held.
typedef pthread_mutex_t CAPABILITY("mutex") Mutex;

}  // namespace aaa

// As in aaa_client.h.
extern "C" aaa::Mutex aaa_lib_lock;
extern "C" aaa::Mutex aaa_lib_send_buf_lock;

namespace aaa {

extern Mutex waiting_session_lock;
extern Mutex request_write_lock;
extern Mutex event_write_lock;
extern Mutex event_read_lock;
extern Mutex link_number_lock;

// 1 once aaa_lib_mutex_init() has made the three recursive locks anew.
extern std::uint8_t g_mutex_init;

// Whether the calling thread holds a mutex, for assertions; true where that cannot be asked.
bool is_held(const Mutex& mutex);

// For code that may be cancelled while it holds a lock: its cleanup handler releases the lock.
void lock(Mutex& mutex) ACQUIRE(mutex);
void unlock(Mutex& mutex) RELEASE(mutex);

// Holds one of the locks. The thread cannot be cancelled meanwhile, so that no lock is ever left
// behind.
class SCOPED_CAPABILITY ScopedLock {
 public:
  explicit ScopedLock(Mutex& mutex) ACQUIRE(mutex);
  ~ScopedLock() RELEASE();
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  CancellationScope no_cancellation_;
  Mutex& mutex_;
};

}  // namespace aaa
