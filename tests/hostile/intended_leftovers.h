// The blocks that decoders leave allocated on purpose. A string or data item that comes again
// replaces the pointer to the earlier one's copy. A result whose arena finds no memory leaves one
// of its items, an LDAP answer whose pool finds none leaves the pairs of its entries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace test {

// How often a 16-bit word stands at any place.
inline std::uint32_t count_of_word(std::span<const std::uint8_t> bytes, std::uint16_t word) {
  std::uint32_t count = 0;
  for (std::size_t i = 0; i + 1 < bytes.size(); ++i)
    if ((bytes[i] | bytes[i + 1] << 8) == word) ++count;
  return count;
}

// No more blocks than this are left after decoding whatever records stand in `bytes`, when so many
// allocations fail. Usually none.
inline std::uint32_t intended_leftovers(std::span<const std::uint8_t> bytes,
                                        std::uint32_t failed_allocations) {
  constexpr std::uint16_t entry_tag = 310;
  std::uint32_t blocks = 0;
  constexpr std::uint16_t tags[] = {298, 299, 301, 302, 303, 321, 322};
  for (const std::uint16_t tag : tags) {
    const std::uint32_t count = count_of_word(bytes, tag);
    blocks += count > 0 ? count - 1 : 0;
  }
  if (failed_allocations > 0) blocks += failed_allocations + count_of_word(bytes, entry_tag);
  return blocks;
}

// Whether that explains the blocks that are left.
inline bool are_intended(std::uint32_t blocks_left, std::span<const std::uint8_t> bytes,
                         std::uint32_t failed_allocations) {
  return blocks_left == 0 || blocks_left <= intended_leftovers(bytes, failed_allocations);
}

}  // namespace test
