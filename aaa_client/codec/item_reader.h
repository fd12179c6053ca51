// Reads the items of a body that cannot be trusted: reading past its end yields zero bytes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "codec/item_writer.h"

namespace aaa {

// The bytes of a body. A negative length counts as none.
class Body {
 public:
  Body(const void* bytes, std::int32_t length)
      : bytes_(static_cast<const std::uint8_t*>(bytes)), size_(std::max(length, 0)) {}

  std::int64_t size() const { return size_; }

  // The byte at `offset`, or the body's end when it lies behind it.
  const std::uint8_t* at(std::int64_t offset) const { return bytes_ + std::min(offset, size_); }

  // How many of `count` bytes from `from` on are there.
  std::size_t available(const void* from, std::size_t count) const {
    const auto* first = static_cast<const std::uint8_t*>(from);
    return std::min(count, static_cast<std::size_t>(bytes_ + size_ - first));
  }

  // Copies `count` bytes from `from`, a place inside the body or at its end.
  void copy(void* to, const void* from, std::size_t count) const {
    const std::size_t there = available(from, count);
    std::memcpy(to, from, there);
    if (there < count) std::memset(static_cast<std::uint8_t*>(to) + there, 0, count - there);
  }

 private:
  const std::uint8_t* bytes_;
  std::int64_t size_;
};

// Stands at one item of the body and moves on as told. Items begin before `limit`; positions are
// 64 bits wide, so that no length can make them wrap around.
class ItemReader {
 public:
  static constexpr std::int32_t no_item = -1;

  explicit ItemReader(const Body& body) : ItemReader(body, 0, body.size()) {}
  ItemReader(const Body& body, std::int64_t offset, std::int64_t limit)
      : body_(body), limit_(std::min(limit, body.size())) {
    move_to(offset);
  }

  const Body& body() const { return body_; }
  std::int64_t offset() const { return offset_; }

  // The item's type, or no_item behind the last item.
  std::int32_t type() const { return type_; }
  std::uint16_t length() const { return length_; }

  // The value's first byte, or the body's end. Body::copy() reads it safely.
  const std::uint8_t* value() const { return body_.at(value_offset()); }

  // To what follows the item's value.
  void pass_item() { move_to(value_offset() + length_); }

  // To the value's first byte, which is then taken for the next item's header.
  void pass_header() { move_to(value_offset()); }

  void move_to(std::int64_t offset) {
    offset_ = offset;
    type_ = no_item;
    if (offset < limit_) load_header();
  }

 private:
  struct Header {
    std::uint16_t type;
    std::uint16_t length;
  };

  std::int64_t value_offset() const { return offset_ + static_cast<std::int64_t>(tlv_header_size); }

  void load_header() {
    Header header;
    if (value_offset() <= body_.size()) {
      std::memcpy(&header, body_.at(offset_), sizeof header);
    } else {
      header = cut_header(body_, offset_);
    }
    type_ = header.type;
    length_ = header.length;
  }

  // A header that the body's end cuts. Kept out of the walk, which hardly ever needs it.
  [[gnu::noinline]] static Header cut_header(Body body, std::int64_t offset) {
    Header header;
    body.copy(&header, body.at(offset), sizeof header);
    return header;
  }

  Body body_;
  std::int64_t limit_;
  std::int64_t offset_ = 0;
  std::int32_t type_ = no_item;
  std::uint16_t length_ = 0;
};

}  // namespace aaa
