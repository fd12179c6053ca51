// The items of a body: type and length as 16-bit words, then the value. One writer, and one reader
// for bodies that cannot be trusted: bytes past a body's end read as zeros. Decoded values are
// copied into blocks of their own or gathered in one.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "aaa_codec.h"
#include "transport/base/memory.h"

namespace aaa {

inline constexpr std::size_t tlv_header_size = 4;

// Writes items one after another.
// REQUIRES: the body has room for them. The writer does not know its end.
class ItemWriter {
 public:
  explicit ItemWriter(std::uint8_t* body) : at_(body) {}

  // Writes a header and returns the value's place, which the caller fills.
  std::uint8_t* open(std::uint16_t type, std::uint16_t length) {
    const std::uint16_t header[] = {type, length};
    std::memcpy(at_, header, sizeof header);
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

  // Writes the item of the caller's descriptor, and sets the descriptor's type.
  void put(aaa_item& item, std::uint16_t type) {
    item.type = type;
    put(type, item.len, item.value);
  }

  // Bytes that are no item.
  void put_bytes(const void* bytes, std::size_t count) {
    std::memcpy(at_, bytes, count);
    at_ += count;
  }

  // The place of the next item.
  std::uint8_t* at() const { return at_; }

  // Zeroes the rest of a body that ends at `end`.
  void clear_rest(const std::uint8_t* end) {
    if (at_ != end) std::memset(at_, 0, static_cast<std::size_t>(end - at_));
  }

 private:
  std::uint8_t* at_;
};

// The bytes of a body. A negative length counts as none.
class Body {
 public:
  Body(const void* bytes, std::int32_t length)
      : begin_(static_cast<const std::uint8_t*>(bytes)), end_(begin_ + std::max(length, 0)) {}

  std::int64_t size() const { return end_ - begin_; }
  const std::uint8_t* end() const { return end_; }

  // The byte at `offset`, or the end if the offset is past it. REQUIRES: offset >= 0.
  const std::uint8_t* at(std::int64_t offset) const {
    assert(offset >= 0);
    return begin_ + std::min(offset, size());
  }

  // How many of the `count` bytes at `from` are in the body.
  // REQUIRES, here and below: `from` is a place in the body or its end.
  std::size_t available(const void* from, std::size_t count) const {
    const auto* first = static_cast<const std::uint8_t*>(from);
    assert(begin_ <= first && first <= end_);
    return std::min(count, static_cast<std::size_t>(end_ - first));
  }

  // The byte `count` bytes after `from`, or the end.
  const std::uint8_t* after(const std::uint8_t* from, std::size_t count) const {
    return from + available(from, count);
  }

  // Copies `count` bytes.
  void copy(void* to, const void* from, std::size_t count) const {
    const std::size_t present = available(from, count);
    std::memcpy(to, from, present);
    if (present < count) {
      std::memset(static_cast<std::uint8_t*>(to) + present, 0, count - present);
    }
  }

 private:
  const std::uint8_t* begin_;
  const std::uint8_t* end_;
};

// An item's value: `length` bytes by its header, of which the body has `present`.
struct ItemValue {
  const std::uint8_t* bytes;
  std::uint16_t length;
  std::uint16_t present;

  // Copies `length` bytes.
  void copy(void* to) const {
    std::memcpy(to, bytes, present);
    if (present < length) {
      std::memset(static_cast<std::uint8_t*>(to) + present, 0, length - present);
    }
  }
};

// Points at one item of a body, and moves only when its caller says so, never beyond the body's
// end. Items begin before `limit`.
class ItemReader {
 public:
  static constexpr std::int32_t no_item = -1;

  ItemReader(const Body& body, const std::uint8_t* first, const std::uint8_t* limit)
      : body_(body), limit_(limit) {
    move_to(first);
  }

  const Body& body() const { return body_; }

  // The item's first byte.
  const std::uint8_t* item() const { return item_; }

  // The item's type, or no_item after the last item.
  std::int32_t type() const { return type_; }
  std::uint16_t length() const { return length_; }

  // The value's first byte, or the body's end; fewer than length() bytes may follow.
  const std::uint8_t* value() const { return value_; }
  ItemValue item_value() const {
    return {value_, length_, static_cast<std::uint16_t>(body_.available(value_, length_))};
  }

  // How many bytes of the body are behind a place in it.
  std::size_t room_at(const std::uint8_t* place) const {
    return static_cast<std::size_t>(body_.end() - place);
  }

  // Moves over the value to the next item.
  void skip_item() { move_to(body_.after(value_, length_)); }

  // Moves to the value's first byte, which is then read as the next item's header.
  void skip_header() { move_to(value_); }

  // REQUIRES: `item` is a place in the body or its end.
  void move_to(const std::uint8_t* item) {
    item_ = item;
    type_ = no_item;
    if (item < limit_) [[likely]]
      load_header();
  }

 private:
  struct Header {
    std::uint16_t type;
    std::uint16_t length;
  };

  void load_header() {
    Header header;
    if (body_.available(item_, sizeof header) == sizeof header) [[likely]] {
      std::memcpy(&header, item_, sizeof header);
      value_ = item_ + sizeof header;
    } else {
      header = cut_header(body_, item_);
      value_ = body_.end();
    }
    type_ = header.type;
    length_ = header.length;
  }

  // A header that the body's end truncates. Not inlined, because it is hardly ever needed.
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

// A copy of an item's value in a block of `size` bytes, filled up with zeros. Null when there is no
// memory. REQUIRES: the value fits the size.
void* copy_of(ItemValue value, std::uint64_t size);

// Gathers the values of a decoded record in one block, each followed by a NUL. `for_each` passes
// the record's descriptors, in the order of the block, to its argument. Returns false and changes
// nothing when there is no memory. REQUIRES: the values point into the body.
template <typename ForEach>
bool fill_arena(aaa_arena& arena, Body body, ForEach for_each) {
  std::uint64_t size = 0;  // includes a NUL for every descriptor, even an empty one
  for_each([&](const aaa_item& item) { size += item.len + std::uint64_t{1}; });
  std::uint8_t* const base = allocate(size);
  if (base == nullptr) return false;
  std::uint8_t* end = base;
  for_each([&](aaa_item& item) {
    if (item.len == 0) {
      item.value = nullptr;
      return;
    }
    body.copy(end, item.value, item.len);
    item.value = end;
    end += item.len;
    *end++ = 0;
  });
  const auto used = static_cast<std::uint32_t>(end - base);
  std::memset(end, 0, static_cast<std::size_t>(size - used));
  arena = {.used = used, .size = static_cast<std::uint32_t>(size), .base = base};
  return true;
}

}  // namespace aaa
