// The library's locks, in the order in which they are taken:
//
//   1. aaa_lib_lock           connection record, sockets, every exchange on the request socket
//   2. aaa_lib_send_buf_lock  the send buffer
//   3. request_write_lock     one frame's write on the request socket, or the socket's close
//   4. event_write_lock       one frame's write on the event socket, or the socket's close
//   5. event_read_lock        one message's read from the event socket, or the socket's close
//   6. link_number_lock       the end of a link, or a change made by one of its messages
//
// waiting_session_lock guards g_temp_sid and is never held together with another lock. The table of
// threads (runtime/send/library_threads.cpp), the directory (transport/base/paths.cpp) and the
// initialisation of the mutexes (locks.cpp) each have an innermost lock of their own.
// docs/architecture.md says what may block under which lock.
//
// Locks 3 to 5 keep a descriptor valid while it is in use: no socket is closed, and its number
// reused by the host process, between the moment a thread reads the number and the end of that
// thread's system call. A close shuts the socket down first, which ends a blocked read or write.
#pragma once

#include <pthread.h>

#include <cstdint>

#include "aaa_client.h"
#include "transport/base/cancellation.h"

// Which lock guards what, for clang's thread safety analysis, which script/lint runs. Empty under
// other compilers.
#ifdef __clang__
#define AAA_THREAD_ANNOTATION(attribute) __attribute__((attribute))
#else
#define AAA_THREAD_ANNOTATION(attribute)
#endif

#define CAPABILITY(name) AAA_THREAD_ANNOTATION(capability(name))
#define SCOPED_CAPABILITY AAA_THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(lock) AAA_THREAD_ANNOTATION(guarded_by(lock))
#define REQUIRES(...) AAA_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) AAA_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) AAA_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) AAA_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS AAA_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace aaa {

// A mutex known to the analysis. A function that says REQUIRES() is called with the lock held.
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

// 1 once aaa_lib_mutex_init() has initialised the three recursive locks.
extern std::uint8_t g_mutex_init;

// Whether the calling thread holds a mutex; for assertions. True where the C library cannot
// tell. Unreliable when lock elision is enabled in glibc, which then records no owner.
bool is_held(const Mutex& mutex);

// For code that can be cancelled while it holds a lock and has a cleanup handler to release it.
void lock(Mutex& mutex) ACQUIRE(mutex);
void unlock(Mutex& mutex) RELEASE(mutex);

// Holds a lock for a scope in which the thread cannot be cancelled anyway.
// REQUIRES: a thread of the library, a CancellationScope or a ScopedLock disables cancellation.
class SCOPED_CAPABILITY InnerLock {
 public:
  explicit InnerLock(Mutex& mutex) ACQUIRE(mutex);
  ~InnerLock() RELEASE();
  InnerLock(const InnerLock&) = delete;
  InnerLock& operator=(const InnerLock&) = delete;

 private:
  Mutex& mutex_;
};

// Holds a lock for a scope. The thread cannot be cancelled in it, so no lock is left locked.
class SCOPED_CAPABILITY ScopedLock {
 public:
  explicit ScopedLock(Mutex& mutex) ACQUIRE(mutex);
  ~ScopedLock() RELEASE();
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  CancellationScope no_cancellation_;
  InnerLock lock_;
};

}  // namespace aaa
