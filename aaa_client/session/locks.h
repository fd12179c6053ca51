// The library's locks, in the order in which they are taken:
//
//   1. aaa_lib_lock           connection record, sockets, every exchange on the request socket
//   2. aaa_lib_send_buf_lock  the send buffer
//   3. link_write_lock        one frame's write to aaad, or the close of the link's sockets
//   4. link_read_lock         one frame's read from the event socket, or the close of the sockets
//
// waiting_session_lock guards g_temp_sid alone and is never held together with another lock. The
// two link locks keep a descriptor number alive while it is used: nobody closes a socket, so that
// the host process could get its number, between the moment a thread reads the number and the end
// of that thread's system call. Whoever closes shuts the socket down first, which ends a blocked
// read or write at once.
#pragma once

#include <pthread.h>

#include <cstdint>

#include "aaa_client.h"
#include "transport/cancellation.h"

// Recursive; made by aaa_lib_mutex_init().
extern "C" pthread_mutex_t aaa_lib_lock;
extern "C" AAA_API pthread_mutex_t aaa_lib_send_buf_lock;

namespace aaa {

extern pthread_mutex_t waiting_session_lock;
extern pthread_mutex_t link_write_lock;
extern pthread_mutex_t link_read_lock;

// 1 once the three recursive locks exist.
extern std::uint8_t g_mutex_init;

// Makes the three recursive locks, once. Returns 0, or -1 and leaves none of them.
std::int32_t aaa_lib_mutex_init();

// Holds one of the locks. The thread cannot be cancelled meanwhile, so that no lock is ever left
// behind. The locks are made at the first use if registration has not done so.
class ScopedLock {
 public:
  explicit ScopedLock(pthread_mutex_t& mutex);
  ~ScopedLock();
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  CancellationScope no_cancellation_;
  pthread_mutex_t* mutex_;
};

}  // namespace aaa
