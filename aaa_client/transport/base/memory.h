// Counted heap blocks (aaa_malloc and aaa_free) and the wiping of memory that may contain a
// password.
#pragma once

#include <cstddef>
#include <cstdint>

#include "aaa_client.h"

// There are g_aaa_malloc_times - g_aaa_free_times live blocks. Changed by atomic adds only.
extern "C" std::uint32_t g_aaa_malloc_times;
extern "C" std::uint32_t g_aaa_malloc_fail_times;
extern "C" std::uint32_t g_aaa_free_times;

#define AAA_MALLOC(size) aaa_malloc(__LINE__, __func__, (size))
#define AAA_FREE(block) aaa_free(__LINE__, __func__, (block))

namespace aaa {

// Overwrites memory; the compiler does not remove it.
void wipe(void* memory, std::size_t size);

// Wipes a block of `size` bytes and frees it; null is ignored.
void wipe_and_free(void* block, std::size_t size);

// A block, or null. A size that does not fit into 32 bits is out of memory.
std::uint8_t* allocate(std::uint64_t size);
void* allocate_zeroed_bytes(std::uint64_t size);

// `count` zeroed elements, or null.
template <typename T>
T* allocate_zeroed(std::uint32_t count) {
  return static_cast<T*>(allocate_zeroed_bytes(std::uint64_t{count} * sizeof(T)));
}

// A block that a record owns through a pointer to const, to be freed.
inline void* owned(const void* block) {
  return const_cast<void*>(block);
}

}  // namespace aaa
