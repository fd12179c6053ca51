// Writes the items of a body one after another: type and length as 16-bit words, then the value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "aaa_codec.h"

namespace aaa {

inline constexpr std::size_t tlv_header_size = 4;

inline void store_item_header(std::uint8_t* to, std::uint16_t type, std::uint16_t length) {
  const std::uint16_t header[] = {type, length};
  std::memcpy(to, header, sizeof header);
}

// Does not check space: the caller has sized the body.
class ItemWriter {
 public:
  explicit ItemWriter(std::uint8_t* body) : at_(body) {}

  // Writes a header and returns the value's place, which the caller fills.
  std::uint8_t* open(std::uint16_t type, std::uint16_t length) {
    store_item_header(at_, type, length);
    std::uint8_t* value = at_ + tlv_header_size;
    at_ = value + length;
    return value;
  }

  // A value that is missing is written as zeros.
  void put(std::uint16_t type, std::uint16_t length, const void* value) {
    std::uint8_t* to = open(type, length);
    if (length == 0) return;
    if (value != nullptr) {
      std::memcpy(to, value, length);
    } else {
      std::memset(to, 0, length);
    }
  }

  // Writes the caller's descriptor, and its tag into it.
  void put(aaa_item& item, std::uint16_t type) {
    item.type = type;
    put(type, item.len, item.value);
  }

  // Bytes that are no item.
  void put_bytes(const void* bytes, std::size_t count) {
    std::memcpy(at_, bytes, count);
    at_ += count;
  }

  // Zeroes what the items have left of a body that ends at `end`.
  void clear_rest(const std::uint8_t* end) {
    if (at_ != end) std::memset(at_, 0, static_cast<std::size_t>(end - at_));
  }

 private:
  std::uint8_t* at_;
};

}  // namespace aaa
