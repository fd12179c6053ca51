// Words of a message body that need not be aligned.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace aaa {

// The 32-bit word at a byte offset. REQUIRES: the body reaches that far.
inline std::uint32_t word_at(const void* body, std::size_t offset) {
  std::uint32_t word = 0;
  std::memcpy(&word, static_cast<const char*>(body) + offset, sizeof word);
  return word;
}

}  // namespace aaa
