// malloc and free under the control of a test. The test program is linked with -Wl,--wrap=malloc
// -Wl,--wrap=free. But for answer_malloc(), everything here is about the current thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

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

// While it lives, keeps the bytes of chosen blocks at the moment of their release. One at a time.
class FreedBlocks {
 public:
  FreedBlocks();
  ~FreedBlocks();
  FreedBlocks(const FreedBlocks&) = delete;
  FreedBlocks& operator=(const FreedBlocks&) = delete;

  void watch(const void* block, std::size_t size) { sizes_[block] = size; }
  // The block's bytes; empty while it has not been freed.
  std::string bytes(const void* block) const;
  // Called for each block that is freed.
  void note(const void* block);

 private:
  std::map<const void*, std::size_t> sizes_;
  std::map<const void*, std::string> bytes_;
};

// Has each malloc of any thread ask `answer` first, which returns the block, or nothing to let the
// call go through.
void answer_malloc(std::optional<void*> (*answer)(std::size_t size));

}  // namespace test
