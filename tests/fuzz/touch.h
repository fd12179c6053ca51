// Reads every byte that a record calls readable, for the sanitizers to see.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "aaa_codec.h"

// The entry of a fuzz target.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

// A body may claim counts that ask for gigabytes.
inline constexpr std::size_t kLargestBlock = 16 << 20;

inline void touch(const void* bytes, std::size_t count) {
  const volatile auto* first = static_cast<const volatile std::uint8_t*>(bytes);
  for (std::size_t i = 0; i < count; i++)
    static_cast<void>(first[i]);
}

inline void require(bool condition) {
  if (!condition) std::abort();
}

// A value with a NUL behind it, or none.
inline void touch(const aaa_item& item) {
  require((item.value == nullptr) == (item.len == 0));
  if (item.value == nullptr) return;
  touch(item.value, item.len);
  require(static_cast<const std::uint8_t*>(item.value)[item.len] == 0);
}

inline void touch(const aaa_arena& arena) {
  touch(arena.base, arena.size);
  require(arena.used <= arena.size);
}

}  // namespace fuzz
