#include "codec/data_copy.h"

#include <cstring>

#include "codec/allocation.h"

namespace aaa {

std::uint8_t* copy_of(ItemValue value, std::uint32_t nul_bytes, const char* function) {
  std::uint8_t* copy = allocate(std::uint64_t{value.length} + nul_bytes, function);
  if (copy == nullptr) return nullptr;
  value.copy(copy);
  std::memset(copy + value.length, 0, nul_bytes);
  return copy;
}

std::uint8_t* extend_copy(const void* block, std::uint32_t held, std::uint64_t size,
                          const char* function) {
  std::uint8_t* longer = allocate(size, function);
  if (longer != nullptr) {
    std::memcpy(longer, block, held);
    std::memset(longer + held, 0, static_cast<std::size_t>(size - held));
  }
  deallocate(block, function);
  return longer;
}

}  // namespace aaa
