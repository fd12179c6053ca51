// Where a thread can be cancelled. The library's threads run with cancellation disabled and enable
// it around single waits, in which everything they own or hold is released by a cleanup handler. In
// a client's thread the library disables cancellation while it holds a lock or owns a block, and
// keeps the thread's own setting around its waits.
#pragma once

#include <pthread.h>
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/asan_interface.h>

#include <cstddef>
#endif

#ifdef __SANITIZE_THREAD__
extern "C" {
void AnnotateIgnoreReadsBegin(const char* file, int line);
void AnnotateIgnoreReadsEnd(const char* file, int line);
void AnnotateIgnoreWritesBegin(const char* file, int line);
void AnnotateIgnoreWritesEnd(const char* file, int line);
}
#endif

namespace aaa {

inline void forbid_cancellation() {
  int ignored = 0;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &ignored);
}

// For the body of a cleanup handler. The sanitizers do not notice that a cancelled thread has left
// its stack frames: AddressSanitizer would apply their poisoned areas to the handler's frames, and
// ThreadSanitizer believes the thread to be in the cancelled call and misses the handler's locks.
class CleanupScope {
 public:
#if defined(__SANITIZE_ADDRESS__)
  CleanupScope() {
    constexpr std::size_t left_frames = 65536;
    auto* const own_frame = static_cast<char*>(__builtin_frame_address(0));
    __asan_unpoison_memory_region(own_frame - left_frames, left_frames);
  }
#elif defined(__SANITIZE_THREAD__)
  CleanupScope() {
    AnnotateIgnoreReadsBegin(__FILE__, __LINE__), AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
  }
  ~CleanupScope() {
    AnnotateIgnoreWritesEnd(__FILE__, __LINE__), AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
  }
#else
  CleanupScope() {}
#endif
  CleanupScope(const CleanupScope&) = delete;
  CleanupScope& operator=(const CleanupScope&) = delete;
};

// Sets the calling thread's cancellation state for a scope. The destructor is no cancellation
// point; a thread that is cancelled inside the scope never reaches it.
class CancellationScope {
 public:
  explicit CancellationScope(int state) { pthread_setcancelstate(state, &before_); }
  ~CancellationScope() {
    int ignored = 0;
    pthread_setcancelstate(before_, &ignored);
  }
  CancellationScope(const CancellationScope&) = delete;
  CancellationScope& operator=(const CancellationScope&) = delete;

  // The state that the scope replaced.
  int before() const { return before_; }

 private:
  int before_ = PTHREAD_CANCEL_ENABLE;
};

// Whether the calling thread cannot be cancelled; for assertions.
inline bool cancellation_is_disabled() {
  return CancellationScope(PTHREAD_CANCEL_DISABLE).before() == PTHREAD_CANCEL_DISABLE;
}

}  // namespace aaa
