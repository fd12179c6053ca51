// The kinds of item that the info records consist of. A record's items are rows of a table, which
// one encoder and one decoder for all records read (codec/record_shape.cpp).
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "aaa_codec.h"
#include "codec/record_layout.h"

namespace aaa {

// The members that are sent in the fixed block: those of the record, or of its part `sub`.
template <typename Record>
auto& fixed_part(Record& record) {
  if constexpr (requires { record.sub; }) {
    return record.sub;
  } else {
    return record;
  }
}

enum class ItemKind : std::uint8_t { block, value, borrowed, text, data, growing, block_sized };

// A row as the shared code reads it, in tables of TypedItemRow. A place is a member's offset in the
// record; the length of a `block_sized` item is a member of the fixed part.
struct [[gnu::may_alias]] ItemRow {
  std::ptrdiff_t place;   // of the descriptor or pointer
  std::ptrdiff_t length;  // place of the length; the size of the fixed block
  std::uint16_t tag;
  ItemKind kind;
};

// A pointer to a member. In memory it is the member's offset, which is how ItemRow reads it.
template <typename Record>
union Place {
  using Fixed = std::remove_reference_t<decltype(fixed_part(std::declval<Record&>()))>;

  std::ptrdiff_t number = 0;
  aaa_item Record::*item;
  const char* Record::*text;
  const void* Record::*data;
  std::uint32_t Record::*length;
  std::uint32_t Fixed::*block_length;
};

// The same row in a constant table of the record.
template <typename Record>
struct TypedItemRow {
  Place<Record> place;
  Place<Record> length;
  std::uint16_t tag;
  ItemKind kind;
};

template <std::uint16_t Tag>
struct Item {
  static constexpr std::uint16_t tag = Tag;
  static constexpr bool in_arena = false;
};

// The fixed block. A decoder ignores it if it has another length.
template <typename Block>
struct FixedBlock : Item<1> {
  template <typename Record>
  static constexpr TypedItemRow<Record> row = {{}, {.number = Block::size}, 1, ItemKind::block};
};

// A value referenced by a descriptor. Until the arena is filled it points into the body.
template <std::uint16_t Tag, auto Member>
struct Value : Item<Tag> {
  static constexpr bool in_arena = true;

  template <typename Record>
  static constexpr TypedItemRow<Record> row = {{.item = Member}, {}, Tag, ItemKind::value};
};

// A value that keeps pointing into the body after decoding, truncated at the body's end; null when
// empty.
template <std::uint16_t Tag, auto Member>
struct BorrowedValue : Item<Tag> {
  template <typename Record>
  static constexpr TypedItemRow<Record> row = {{.item = Member}, {}, Tag, ItemKind::borrowed};
};

// The other kinds are values that the record holds as plain pointers. A copy replaces the pointer,
// and the block of an earlier copy is leaked; when there is no memory, the pointer stays. No copy
// is shorter than the length that the decoded record states for it. Where later items of the body
// may change that length, they are taken before the copy is made.

// NUL-terminated text; null means empty.
template <std::uint16_t Tag, auto Member>
struct Text : Item<Tag> {
  template <typename Record>
  static constexpr TypedItemRow<Record> row = {{.text = Member}, {}, Tag, ItemKind::text};
};

// Opaque data. The length member is set to the length of the last such item, even if it is empty or
// could not be copied. The decoded copy is followed by a NUL.
template <std::uint16_t Tag, auto Member, auto Length>
struct Data : Item<Tag> {
  template <typename Record>
  static constexpr TypedItemRow<Record> row = {
      {.data = Member}, {.length = Length}, Tag, ItemKind::data};
};

// The same, but the lengths of repeated items add up, without those that could not be copied.
template <std::uint16_t Tag, auto Member, auto Length>
struct GrowingData : Item<Tag> {
  template <typename Record>
  static constexpr TypedItemRow<Record> row = {
      {.data = Member}, {.length = Length}, Tag, ItemKind::growing};
};

// Opaque data whose length is in the fixed block; ignored when the pointer is null. The decoded
// copy is as long as the item or, if that is more, the low 16 bits of that length.
template <std::uint16_t Tag, auto Member, auto Length>
struct BlockSizedData : Item<Tag> {
  template <typename Record>
  static constexpr TypedItemRow<Record> row = {
      {.data = Member}, {.block_length = Length}, Tag, ItemKind::block_sized};
};

}  // namespace aaa
