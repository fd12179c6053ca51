#include "transport/base/memory.h"

#include <cstdlib>
#include <cstring>

#include "transport/base/atomic_word.h"

std::uint32_t g_aaa_malloc_times = 0;
std::uint32_t g_aaa_malloc_fail_times = 0;
std::uint32_t g_aaa_free_times = 0;

void* aaa_malloc([[maybe_unused]] std::uint32_t line, [[maybe_unused]] const char* function,
                 std::uint32_t size) {
  if (size == 0) return nullptr;
  void* block = std::malloc(size);
  aaa::add(block != nullptr ? g_aaa_malloc_times : g_aaa_malloc_fail_times, 1U);
  return block;
}

void aaa_free([[maybe_unused]] std::uint32_t line, [[maybe_unused]] const char* function,
              void* block) {
  if (block == nullptr) return;
  std::free(block);
  aaa::add(g_aaa_free_times, 1U);
}

namespace aaa {

void wipe(void* memory, std::size_t size) {
  explicit_bzero(memory, size);
}

void wipe_and_free(void* block, std::size_t size) {
  if (block == nullptr) return;
  wipe(block, size);
  AAA_FREE(block);
}

std::uint8_t* allocate(std::uint64_t size) {
  if (size > UINT32_MAX) return nullptr;
  return static_cast<std::uint8_t*>(AAA_MALLOC(static_cast<std::uint32_t>(size)));
}

void* allocate_zeroed_bytes(std::uint64_t size) {
  void* block = allocate(size);
  if (block != nullptr) std::memset(block, 0, static_cast<std::size_t>(size));
  return block;
}

}  // namespace aaa
