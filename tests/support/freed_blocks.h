// Blocks as they are when they are freed. The test program is linked with -Wl,--wrap=free and one
// of its files includes this header.
#pragma once

#include <cstddef>
#include <map>
#include <string>

namespace test {

// While it lives, keeps the bytes of chosen blocks at the moment of their release. One at a time.
class FreedBlocks {
 public:
  FreedBlocks() { current() = this; }
  ~FreedBlocks() { current() = nullptr; }
  FreedBlocks(const FreedBlocks&) = delete;
  FreedBlocks& operator=(const FreedBlocks&) = delete;

  void watch(const void* block, std::size_t size) { sizes_[block] = size; }

  // The block's bytes; empty while it has not been freed.
  std::string bytes(const void* block) const {
    const auto found = bytes_.find(block);
    return found == bytes_.end() ? std::string() : found->second;
  }

  static void note(const void* block) {
    FreedBlocks* const self = current();
    if (self == nullptr) return;
    const auto found = self->sizes_.find(block);
    if (found == self->sizes_.end()) return;
    const std::string bytes(static_cast<const char*>(block), found->second);
    self->sizes_.erase(found);
    self->bytes_[block] = bytes;
  }

 private:
  static FreedBlocks*& current() {
    static thread_local FreedBlocks* blocks = nullptr;
    return blocks;
  }

  std::map<const void*, std::size_t> sizes_;
  std::map<const void*, std::string> bytes_;
};

}  // namespace test

extern "C" void __real_free(void* block);
extern "C" void __wrap_free(void* block);
void __wrap_free(void* block) {
  test::FreedBlocks::note(block);
  __real_free(block);
}
