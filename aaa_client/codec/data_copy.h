// Blocks of their own for the strings and opaque data of a decoded record.
#pragma once

#include <cstdint>

#include "codec/item_reader.h"

namespace aaa {

// A copy of an item's value in a block of `size` bytes, zero behind the value. Null when memory ran
// out. REQUIRES: the value fits the size.
std::uint8_t* copy_of(ItemValue value, std::uint64_t size, const char* function);

}  // namespace aaa
