#include "support/failing_allocator.h"

#include <unordered_map>

namespace {

thread_local std::uint32_t calls_until_failure = 0;  // 0: not armed
thread_local bool failure_happened = false;
thread_local bool tracking = false;
thread_local std::size_t largest_size = SIZE_MAX;
thread_local std::unordered_map<const void*, std::size_t> live_blocks;

bool must_fail(std::size_t size) {
  if (size > largest_size) return true;
  if (calls_until_failure == 0 || --calls_until_failure != 0) return false;
  failure_happened = true;
  return true;
}

}  // namespace

// The linker's names for the replaced and the replacing functions.
extern "C" void* __real_malloc(std::size_t size);
extern "C" void __real_free(void* block);
extern "C" void* __wrap_malloc(std::size_t size);
extern "C" void __wrap_free(void* block);

void* __wrap_malloc(std::size_t size) {
  if (must_fail(size)) return nullptr;
  void* block = __real_malloc(size);
  if (tracking) live_blocks[block] = size;
  return block;
}

void __wrap_free(void* block) {
  if (tracking) live_blocks.erase(block);
  __real_free(block);
}

namespace test {

FailMalloc::FailMalloc(std::uint32_t call) {
  failure_happened = false;
  calls_until_failure = call;
}

FailMalloc::~FailMalloc() {
  calls_until_failure = 0;
}

bool FailMalloc::happened() const {
  return failure_happened;
}

TrackedHeap::TrackedHeap(std::size_t largest_block) {
  largest_size = largest_block;
  tracking = true;
}

TrackedHeap::~TrackedHeap() {
  tracking = false;
  largest_size = SIZE_MAX;
  for (const auto& [block, size] : live_blocks)
    __real_free(const_cast<void*>(block));
  live_blocks.clear();
}

std::size_t TrackedHeap::size_of(const void* block) {
  const auto found = live_blocks.find(block);
  return found == live_blocks.end() ? 0 : found->second;
}

}  // namespace test
