// Counted blocks for the codec. Sizes are computed in 64 bits; a size that does not fit into 32 is
// out of memory. `function` names the function of the interface that allocates.
#pragma once

#include <cstdint>

namespace aaa {

std::uint8_t* allocate(std::uint64_t size, const char* function);
void* allocate_zeroed_bytes(std::uint64_t size, const char* function);
void deallocate(const void* block, const char* function);

// `count` zeroed elements, or null.
template <typename T>
T* allocate_zeroed(std::uint32_t count, const char* function) {
  return static_cast<T*>(allocate_zeroed_bytes(std::uint64_t{count} * sizeof(T), function));
}

}  // namespace aaa
