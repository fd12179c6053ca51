// The parts of the pcapng format that captures consist of, by the names that the format has for
// them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace aaa_capture {

// Block types. Every block is its type, its length, its body, and its length again.
inline constexpr std::uint32_t kSectionHeaderBlock = 0x0A0D0D0A;
inline constexpr std::uint32_t kInterfaceDescriptionBlock = 1;
inline constexpr std::uint32_t kPacketBlock = 2;  // obsolete
inline constexpr std::uint32_t kSimplePacketBlock = 3;
inline constexpr std::uint32_t kEnhancedPacketBlock = 6;

inline constexpr std::size_t kBlockOverhead = 12;
// The first word of a section's body, which tells its byte order.
inline constexpr std::uint32_t kByteOrderMagic = 0x1A2B3C4D;
inline constexpr std::uint32_t kSwappedByteOrderMagic = 0x4D3C2B1A;
inline constexpr std::uint16_t kMajorVersion = 1;
inline constexpr std::uint16_t kMinorVersion = 0;

// Option codes. opt_endofopt and opt_comment are common to all blocks.
inline constexpr std::uint16_t kOptEndOfOpt = 0;
inline constexpr std::uint16_t kOptComment = 1;
inline constexpr std::uint16_t kShbUserAppl = 4;
inline constexpr std::uint16_t kIfName = 2;
inline constexpr std::uint16_t kIfDescription = 3;
inline constexpr std::uint16_t kIfTsresol = 9;
inline constexpr std::uint16_t kIfTsoffset = 14;
inline constexpr std::uint16_t kEpbFlags = 2;

// if_tsresol: a power of ten, or of two with the highest bit set. Microseconds without the option.
inline constexpr std::uint8_t kNanoseconds = 9;
inline constexpr std::uint8_t kMicroseconds = 6;
inline constexpr std::uint8_t kPowerOfTwo = 0x80;

// epb_flags: the direction is in the lowest two bits.
inline constexpr std::uint32_t kDirectionMask = 3;

// Bodies and options end at a multiple of 32 bits.
constexpr std::size_t padded(std::size_t size) {
  return (size + 3) & ~std::size_t{3};
}

}  // namespace aaa_capture
