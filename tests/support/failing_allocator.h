// malloc under the control of a test, for the current thread. The test program is linked with
// -Wl,--wrap=malloc -Wl,--wrap=free.
#pragma once

#include <cstddef>
#include <cstdint>

namespace test {

// While it lives, the `call`-th malloc from now on fails (1 is the next one).
class FailMalloc {
 public:
  explicit FailMalloc(std::uint32_t call);
  ~FailMalloc();
  FailMalloc(const FailMalloc&) = delete;
  FailMalloc& operator=(const FailMalloc&) = delete;

  // Whether that call has come.
  bool happened() const;
};

// While it lives, mallocs of more than `largest_block` bytes fail. At its end it frees the blocks
// that were allocated meanwhile and are left: some of the decoders' leaks are intended. One at a
// time.
class TrackedHeap {
 public:
  explicit TrackedHeap(std::size_t largest_block = SIZE_MAX);
  ~TrackedHeap();
  TrackedHeap(const TrackedHeap&) = delete;
  TrackedHeap& operator=(const TrackedHeap&) = delete;

  // How many bytes a block was asked for with; 0 for one that was not allocated meanwhile.
  static std::size_t size_of(const void* block);
};

}  // namespace test
