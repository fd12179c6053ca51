// The blocks of encoded bodies and decoded records. Sizes are computed in 64 bits; one that does
// not fit into 32 is out of memory.
#pragma once

#include <cassert>
#include <cstdint>
#include <cstring>

#include "codec/tlv.h"
#include "transport/base/memory.h"

namespace aaa {

// A block, or null. `function` names the caller for aaa_malloc().
std::uint8_t* allocate(std::uint64_t size, const char* function);
void* allocate_zeroed_bytes(std::uint64_t size, const char* function);

// `count` zeroed elements, or null.
template <typename T>
T* allocate_zeroed(std::uint32_t count, const char* function) {
  return static_cast<T*>(allocate_zeroed_bytes(std::uint64_t{count} * sizeof(T), function));
}

// A block that a decoded record owns through a pointer to const, to be freed.
inline void* owned(const void* block) {
  return const_cast<void*>(block);
}

// A copy of an item's value in a block of `size` bytes, zero behind the value. Null when memory ran
// out. REQUIRES: the value fits the size.
void* copy_of(ItemValue value, std::uint64_t size);

// Gathers the values of a decoded record in one block, each followed by a NUL. `for_each` passes
// the record's descriptors, in the order of the block, to the function that it gets. Returns false
// and changes nothing when memory ran out. REQUIRES: the values point into the body.
template <typename ForEach>
bool fill_arena(aaa_arena& arena, Body body, ForEach for_each) {
  std::uint64_t size = 0;  // with a NUL for every descriptor, also for the empty ones
  for_each([&](const aaa_item& item) { size += item.len + std::uint64_t{1}; });
  std::uint8_t* const base = allocate(size, __func__);
  if (base == nullptr) return false;
  std::uint8_t* end = base;
  for_each([&](aaa_item& item) {
    if (item.len == 0) {
      item.value = nullptr;
      return;
    }
    body.copy(end, item.value, item.len);
    item.value = end;
    end += item.len;
    *end++ = 0;
  });
  const auto used = static_cast<std::uint32_t>(end - base);
  std::memset(end, 0, static_cast<std::size_t>(size - used));
  arena = {.used = used, .size = static_cast<std::uint32_t>(size), .base = base};
  return true;
}

}  // namespace aaa
