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
      : begin_(static_cast<const std::uint8_t*>(bytes)), end_(begin_ + std::max(length, 0)) {}

  std::int64_t size() const { return end_ - begin_; }
  const std::uint8_t* end() const { return end_; }

  // The byte at `offset`, or the body's end when it lies behind it.
  const std::uint8_t* at(std::int64_t offset) const { return begin_ + std::min(offset, size()); }

  // The byte `count` bytes behind `from`, a place in the body, or the body's end.
  const std::uint8_t* after(const std::uint8_t* from, std::size_t count) const {
    return from + available(from, count);
  }

  // How many of `count` bytes from `from` on are there.
  std::size_t available(const void* from, std::size_t count) const {
    const auto* first = static_cast<const std::uint8_t*>(from);
    return std::min(count, static_cast<std::size_t>(end_ - first));
  }

  // Copies `count` bytes from `from`, a place inside the body or at its end.
  void copy(void* to, const void* from, std::size_t count) const {
    const std::size_t there = available(from, count);
    std::memcpy(to, from, there);
    if (there < count) std::memset(static_cast<std::uint8_t*>(to) + there, 0, count - there);
  }

 private:
  const std::uint8_t* begin_;
  const std::uint8_t* end_;
};

// An item's value, `length` bytes by its header, of which `there` are in the body.
struct ItemValue {
  const std::uint8_t* bytes;
  std::uint16_t length;
  std::uint16_t there;

  // Missing bytes are zeros.
  void copy(void* to) const {
    std::memcpy(to, bytes, there);
    if (there < length) std::memset(static_cast<std::uint8_t*>(to) + there, 0, length - there);
  }
};

// Stands at one item of the body and moves on as told, never beyond the body's end. Items begin
// before `limit`.
class ItemReader {
 public:
  static constexpr std::int32_t no_item = -1;

  explicit ItemReader(const Body& body) : ItemReader(body, body.at(0), body.end()) {}
  ItemReader(const Body& body, const std::uint8_t* first, const std::uint8_t* limit)
      : body_(body), limit_(limit) {
    move_to(first);
  }

  const Body& body() const { return body_; }

  // The item's first byte.
  const std::uint8_t* item() const { return item_; }

  // The item's type, or no_item behind the last item.
  std::int32_t type() const { return type_; }
  std::uint16_t length() const { return length_; }

  // The value's first byte, or the body's end. Body::copy() reads it safely.
  const std::uint8_t* value() const { return value_; }

  ItemValue item_value() const {
    return {value_, length_, static_cast<std::uint16_t>(body_.available(value_, length_))};
  }

  // What follows the item's value.
  const std::uint8_t* end() const { return body_.after(value_, length_); }
  void pass_item() { move_to(end()); }

  // To the value's first byte, which is then taken for the next item's header.
  void pass_header() { move_to(value_); }

  void move_to(const std::uint8_t* item) {
    item_ = item;
    type_ = no_item;
    if (item < limit_) load_header();
  }

 private:
  struct Header {
    std::uint16_t type;
    std::uint16_t length;
  };

  void load_header() {
    Header header;
    if (body_.available(item_, sizeof header) == sizeof header) {
      std::memcpy(&header, item_, sizeof header);
      value_ = item_ + sizeof header;
    } else {
      header = cut_header(body_, item_);
      value_ = body_.end();
    }
    type_ = header.type;
    length_ = header.length;
  }

  // A header that the body's end cuts. Kept out of the walk, which hardly ever needs it.
  [[gnu::noinline]] static Header cut_header(Body body, const std::uint8_t* item) {
    Header header;
    body.copy(&header, item, sizeof header);
    return header;
  }

  Body body_;
  const std::uint8_t* limit_;
  const std::uint8_t* item_ = nullptr;
  const std::uint8_t* value_ = nullptr;
  std::int32_t type_ = no_item;
  std::uint16_t length_ = 0;
};

}  // namespace aaa
