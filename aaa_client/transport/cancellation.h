// Where a thread may be cancelled. The library's own threads run with cancellation disabled, and
// enable it around one wait at a time, in which they hold and own nothing that a cleanup handler
// does not give back. In its client's threads the library disables cancellation while it holds a
// lock or owns a block, and lets the client's own setting stand around its waits.
#pragma once

#include <pthread.h>
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/asan_interface.h>

#include <cstddef>
#endif

namespace aaa {

inline void forbid_cancellation() {
  int ignored = 0;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &ignored);
}

// Called first by a cleanup handler. AddressSanitizer does not see that a cancelled thread leaves
// its frames, and would take their marks on the stack for those of the handler's own.
inline void begin_cleanup() {
#ifdef __SANITIZE_ADDRESS__
  constexpr std::size_t left_frames = 65536;
  auto* const own_frame = static_cast<char*>(__builtin_frame_address(0));
  __asan_unpoison_memory_region(own_frame - left_frames, left_frames);
#endif
}

// Sets the calling thread's cancellation state for a scope. The destructor is no cancellation
// point, and a thread that is cancelled inside the scope does not come back to it.
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

}  // namespace aaa
