// Blocks of their own for the strings and opaque data of a decoded record.
#pragma once

#include <cstdint>

#include "codec/item_reader.h"

namespace aaa {

// A copy of an item's value, with `nul_bytes` zeros behind it. Null when the value is empty or
// memory ran out.
std::uint8_t* copy_of(ItemValue value, std::uint32_t nul_bytes, const char* function);

inline std::uint8_t* copy_value(ItemValue value, std::uint32_t nul_bytes, const char* function) {
  return value.length == 0 ? nullptr : copy_of(value, nul_bytes, function);
}

// Replaces a block that holds `held` bytes by one of `size` bytes, zero behind them. Frees the old
// block in any case; returns null when memory ran out.
std::uint8_t* extend_copy(const void* block, std::uint32_t held, std::uint64_t size,
                          const char* function);

}  // namespace aaa
