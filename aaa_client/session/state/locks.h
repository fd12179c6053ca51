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
#include "transport/base/cancellation.h"

namespace aaa {

extern pthread_mutex_t waiting_session_lock;
extern pthread_mutex_t request_write_lock;
extern pthread_mutex_t event_write_lock;
extern pthread_mutex_t event_read_lock;
extern pthread_mutex_t link_number_lock;

// 1 once aaa_lib_mutex_init() has made the three recursive locks anew.
extern std::uint8_t g_mutex_init;

// Holds one of the locks. The thread cannot be cancelled meanwhile, so that no lock is ever left
// behind.
class ScopedLock {
 public:
  explicit ScopedLock(pthread_mutex_t& mutex);
  ~ScopedLock();
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  CancellationScope no_cancellation_;
  pthread_mutex_t& mutex_;
};

}  // namespace aaa
