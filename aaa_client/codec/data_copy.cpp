#include "codec/data_copy.h"

#include <cstring>

#include "codec/allocation.h"

namespace aaa {

std::uint8_t* copy_of(ItemValue value, std::uint64_t size, const char* function) {
  std::uint8_t* copy = allocate(size, function);
  if (copy == nullptr) return nullptr;
  value.copy(copy);
  std::memset(copy + value.length, 0, static_cast<std::size_t>(size - value.length));
  return copy;
}

}  // namespace aaa
