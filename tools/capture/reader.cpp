#include "capture/reader.h"

#include <algorithm>
#include <string>

#include "capture/pcapng.h"

namespace aaa_capture {
namespace {

// Above what any message needs: a longer block of a kind that is read is a broken one.
constexpr std::uint32_t kMaxBlock = 32u << 20;
// What a length claims is only taken once the bytes are there.
constexpr std::size_t kChunk = 65536;
constexpr const char* kNoCapture = "no pcapng capture";
constexpr const char* kBroken = "broken block";
constexpr std::uint64_t kPerSecond = 1'000'000'000;

std::uint64_t power_of_ten(unsigned exponent) {
  std::uint64_t power = 1;
  while (exponent-- > 0)
    power *= 10;
  return power;
}

std::uint64_t from_power_of_two(std::uint64_t time, unsigned exponent) {
  constexpr unsigned kExact = 34;  // the fraction times a billion fits into 64 bits
  if (exponent > kExact) time = exponent - kExact < 64 ? time >> (exponent - kExact) : 0;
  exponent = std::min(exponent, kExact);
  const std::uint64_t fraction = time & ((std::uint64_t{1} << exponent) - 1);
  return (time >> exponent) * kPerSecond + (fraction * kPerSecond >> exponent);
}

// By if_tsresol. A time that 64 bits cannot hold wraps.
std::uint64_t to_nanoseconds(std::uint64_t time, std::uint8_t resolution) {
  if ((resolution & kPowerOfTwo) != 0)
    return from_power_of_two(time, resolution & ~unsigned{kPowerOfTwo});
  if (resolution <= kNanoseconds) return time * power_of_ten(kNanoseconds - resolution);
  const unsigned finer = resolution - kNanoseconds;
  return finer < 20 ? time / power_of_ten(finer) : 0;
}

bool needs_body(std::uint32_t type) {
  return type == kSectionHeaderBlock || type == kInterfaceDescriptionBlock ||
         type == kEnhancedPacketBlock;
}

}  // namespace

bool Reader::next(Packet& packet) {
  try {
    while (read_block()) {
      if (type_ == kSectionHeaderBlock) start_section();
      if (type_ == kInterfaceDescriptionBlock) add_interface();
      if (type_ == kPacketBlock || type_ == kSimplePacketBlock) ++passed_over_;
      if (type_ != kEnhancedPacketBlock) continue;
      read_packet(packet);
      return true;
    }
  } catch (const BodyTooShort&) {
    fail(kBroken);
  }
  return false;
}

// False at the end of the input.
bool Reader::read_block() {
  position_ += size_;
  block_.clear();
  read_up_to(kBlockOverhead);
  if (block_.empty() && in_section_) return false;
  if (block_.size() < kBlockOverhead) fail(in_section_ ? "cut" : kNoCapture);
  type_ = number_at(0);
  if (type_ == kSectionHeaderBlock) read_byte_order();
  if (!in_section_) fail(kNoCapture);
  size_ = number_at(4);
  if (size_ < kBlockOverhead || size_ % 4 != 0) fail(kBroken);
  read_rest();
  if (number_at(block_.size() - 4) != size_) fail(kBroken);
  return true;
}

void Reader::read_rest() {
  std::size_t kept = size_;
  if (!needs_body(type_)) {
    kept = kBlockOverhead;
    skip_body();
  } else if (size_ > kMaxBlock) {
    fail(kBroken);
  }
  read_up_to(kept);
  if (block_.size() < kept) fail("cut");
}

// Its first bytes were read with the type and the length.
void Reader::skip_body() {
  if (size_ == kBlockOverhead) return;
  block_.resize(kBlockOverhead - sizeof size_);
  std::size_t left = size_ - kBlockOverhead - sizeof size_;
  while (left != 0 && input_) {
    input_.ignore(static_cast<std::streamsize>(std::min(left, kChunk)));
    left -= static_cast<std::size_t>(input_.gcount());
  }
}

// The type of this block is the same in both orders; its length is not.
void Reader::read_byte_order() {
  swapped_ = false;
  const std::uint32_t magic = number_at(8);
  if (magic != kByteOrderMagic && magic != kSwappedByteOrderMagic) fail(kNoCapture);
  swapped_ = magic == kSwappedByteOrderMagic;
  in_section_ = true;
}

// Until the block has that size, or the input ends.
void Reader::read_up_to(std::size_t size) {
  while (block_.size() < size && input_) {
    const std::size_t before = block_.size();
    block_.resize(std::min(size, before + kChunk));
    input_.read(reinterpret_cast<char*>(block_.data() + before),
                static_cast<std::streamsize>(block_.size() - before));
    block_.resize(before + static_cast<std::size_t>(input_.gcount()));
  }
  if (input_.bad()) throw CaptureError("cannot be read");
}

std::uint32_t Reader::number_at(std::size_t offset) const {
  return BlockCursor(std::span(block_).subspan(offset), swapped_).number<std::uint32_t>();
}

BlockCursor Reader::body() const {
  return {std::span(block_).subspan(8, block_.size() - kBlockOverhead), swapped_};
}

void Reader::start_section() {
  BlockCursor cursor = body();
  cursor.number<std::uint32_t>();  // the byte order
  if (cursor.number<std::uint16_t>() != kMajorVersion) fail("unknown version of pcapng");
  interfaces_.clear();
}

void Reader::add_interface() {
  BlockCursor cursor = body();
  Source source{.is = {.link_type = cursor.number<std::uint16_t>()}};
  cursor.number<std::uint16_t>();  // reserved
  cursor.number<std::uint32_t>();  // the most that is kept of a packet
  cursor.options([&source](std::uint16_t code, BlockCursor value) {
    if (code == kIfName) source.is.name = value.text();
    if (code == kIfDescription) source.is.description = value.text();
    if (code == kIfTsresol) source.resolution = value.number<std::uint8_t>();
    if (code == kIfTsoffset) source.offset = value.number<std::uint64_t>();
  });
  interfaces_.push_back(std::move(source));
}

void Reader::read_packet(Packet& packet) {
  BlockCursor cursor = body();
  packet = {.interface = cursor.number<std::uint32_t>()};
  if (packet.interface >= interfaces_.size()) fail(kBroken);
  packet_interface_ = packet.interface;
  const Source& source = interfaces_[packet_interface_];
  const std::uint64_t high = cursor.number<std::uint32_t>();
  const std::uint64_t time = high << 32 | cursor.number<std::uint32_t>();
  packet.time = to_nanoseconds(time, source.resolution) + source.offset * kPerSecond;
  const auto kept = cursor.number<std::uint32_t>();
  packet.length = cursor.number<std::uint32_t>();
  const auto bytes = cursor.padded_bytes(kept);
  packet.bytes.assign(bytes.begin(), bytes.end());
  cursor.options([&packet](std::uint16_t code, BlockCursor value) {
    if (code == kOptComment) packet.comment = value.text();
    if (code == kEpbFlags)
      packet.direction = static_cast<Direction>(value.number<std::uint32_t>() & kDirectionMask);
  });
}

void Reader::fail(const char* what) const {
  throw CaptureError(std::string(what) + " at byte " + std::to_string(position_));
}

}  // namespace aaa_capture
