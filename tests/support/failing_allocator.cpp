#include "support/failing_allocator.h"

#include <atomic>
#include <cerrno>
#include <unordered_map>

namespace {

std::atomic<std::optional<void*> (*)(std::size_t)> malloc_answer{nullptr};
thread_local std::uint32_t calls_until_failure = 0;  // 0: not armed
thread_local bool failure_happened = false;
thread_local bool tracking = false;
thread_local std::size_t largest_size = SIZE_MAX;
thread_local std::unordered_map<const void*, std::size_t> live_blocks;
thread_local test::FreedBlocks* freed_blocks = nullptr;

bool must_fail(std::size_t size) {
  if (size > largest_size) return true;
  if (calls_until_failure == 0 || --calls_until_failure != 0) return false;
  failure_happened = true;
  errno = ENOMEM;
  return true;
}

}  // namespace

// The linker's names for the replaced and the replacing functions.
extern "C" void* __real_malloc(std::size_t size);
extern "C" void __real_free(void* block);
extern "C" void* __wrap_malloc(std::size_t size);
extern "C" void __wrap_free(void* block);

void* __wrap_malloc(std::size_t size) {
  if (const auto ask = malloc_answer.load(); ask != nullptr) {
    if (const auto answer = ask(size)) return *answer;
  }
  if (must_fail(size)) return nullptr;
  void* block = __real_malloc(size);
  if (tracking) live_blocks[block] = size;
  return block;
}

void __wrap_free(void* block) {
  if (tracking) live_blocks.erase(block);
  if (freed_blocks != nullptr) freed_blocks->note(block);
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

FreedBlocks::FreedBlocks() {
  freed_blocks = this;
}
FreedBlocks::~FreedBlocks() {
  freed_blocks = nullptr;
}
std::string FreedBlocks::bytes(const void* block) const {
  const auto found = bytes_.find(block);
  return found == bytes_.end() ? std::string() : found->second;
}
void FreedBlocks::note(const void* block) {
  const auto found = sizes_.find(block);
  if (found == sizes_.end()) return;
  bytes_[block].assign(static_cast<const char*>(block), found->second);
  sizes_.erase(found);
}

void answer_malloc(std::optional<void*> (*answer)(std::size_t size)) {
  malloc_answer = answer;
}

}  // namespace test
