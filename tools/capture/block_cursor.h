// Walks through the body of a block.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>

#include "capture/pcapng.h"

namespace aaa_capture {

// The body is shorter than what it must hold.
struct BodyTooShort {};

class BlockCursor {
 public:
  BlockCursor(std::span<const std::uint8_t> bytes, bool swapped)
      : bytes_(bytes), swapped_(swapped) {}

  template <class Number>
  Number number() {
    Number number;
    auto* const first = reinterpret_cast<std::uint8_t*>(&number);
    std::ranges::copy(take(sizeof number), first);
    if (swapped_) std::reverse(first, first + sizeof number);
    return number;
  }

  std::span<const std::uint8_t> padded_bytes(std::size_t size) {
    const auto bytes = take(size);
    take(padded(size) - size);
    return bytes;
  }

  // Calls `option` with each code and a cursor over the value.
  template <class Handler>
  void options(Handler option) {
    while (!bytes_.empty()) {
      const auto code = number<std::uint16_t>();
      const auto length = number<std::uint16_t>();
      if (code == kOptEndOfOpt) return;
      option(code, BlockCursor(padded_bytes(length), swapped_));
    }
  }

  std::string text() const { return {bytes_.begin(), bytes_.end()}; }

 private:
  std::span<const std::uint8_t> take(std::size_t size) {
    if (size > bytes_.size()) throw BodyTooShort();
    const auto taken = bytes_.first(size);
    bytes_ = bytes_.subspan(size);
    return taken;
  }

  std::span<const std::uint8_t> bytes_;
  bool swapped_;
};

}  // namespace aaa_capture
