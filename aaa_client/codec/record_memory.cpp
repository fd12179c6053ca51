#include "codec/record_memory.h"

#include "transport/base/memory.h"

namespace aaa {

std::uint8_t* allocate(std::uint64_t size, const char* function) {
  if (size > UINT32_MAX) return nullptr;
  return static_cast<std::uint8_t*>(
      aaa_malloc(__LINE__, function, static_cast<std::uint32_t>(size)));
}

void* allocate_zeroed_bytes(std::uint64_t size, const char* function) {
  void* block = allocate(size, function);
  if (block != nullptr) std::memset(block, 0, static_cast<std::size_t>(size));
  return block;
}

void* copy_of(ItemValue value, std::uint64_t size) {
  assert(value.length <= size);
  std::uint8_t* copy = allocate(size, __func__);
  if (copy == nullptr) return nullptr;
  value.copy(copy);
  std::memset(copy + value.length, 0, static_cast<std::size_t>(size - value.length));
  return copy;
}

}  // namespace aaa
