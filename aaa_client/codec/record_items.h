// The kinds of item that the info records consist of. Each kind defines for one item
//
//   value_size  how many bytes the encoder counts for its value,
//   write       how it is written: its header's length is the low 16 bits of that size,
//   take        what a decoder sets in the record for every such item of the body,
//   copy        how a decoder copies an item that is not empty into a block of its own.
//
// No copy is shorter than the length that the decoded record states for it. Where later items
// of the body may change that length (`looks_ahead`), they are taken before the copy is made.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "aaa_codec.h"
#include "codec/record_layout.h"
#include "codec/tlv.h"
#include "transport/base/memory.h"

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

template <std::uint16_t Tag>
struct Item {
  static constexpr std::uint16_t tag = Tag;
  static constexpr bool in_arena = false;
  static constexpr bool is_copied = false;
  static constexpr bool looks_ahead = false;  // later items may change how long its copy has to be
};

// The fixed block. A decoder ignores it if it has another length.
template <typename Block>
struct FixedBlock : Item<1> {
  static std::uint64_t value_size(const auto&) { return Block::size; }

  static void write(ItemWriter& writer, const auto& record, std::uint64_t) {
    Block::encode(writer.open(tag, Block::size), fixed_part(record));
  }

  static void take(ItemValue value, auto& record) {
    if (value.length != Block::size) return;
    if (value.present == Block::size) {
      Block::decode(value.bytes, fixed_part(record));
    } else {
      take_cut(value, fixed_part(record));
    }
  }

 private:
  // A block that the end of the body truncates.
  [[gnu::noinline]] static void take_cut(ItemValue value, auto& record) {
    std::uint8_t padded[Block::size];
    value.copy(padded);
    Block::decode(padded, record);
    wipe(padded, sizeof padded);
  }
};

// A value referenced by a descriptor. Until the arena is filled it points into the body.
template <std::uint16_t Tag, auto Member>
struct Value : Item<Tag> {
  static constexpr bool in_arena = true;

  static std::uint64_t value_size(const auto& record) { return (record.*Member).len; }

  static void write(ItemWriter& writer, auto& record, std::uint64_t) {
    writer.put(record.*Member, Tag);
  }

  static void take(ItemValue value, auto& record) {
    record.*Member = {Tag, value.length, value.bytes};
  }
};

// A value that keeps pointing into the body after decoding, truncated at the body's end; null when
// empty.
template <std::uint16_t Tag, auto Member>
struct BorrowedValue : Value<Tag, Member> {
  static constexpr bool in_arena = false;

  static void take(ItemValue value, auto& record) {
    record.*Member = {Tag, value.present, value.present == 0 ? nullptr : value.bytes};
  }
};

// A value that the record holds as a plain pointer. A copy replaces the pointer, and the block of
// an earlier copy is leaked; when there is no memory, the pointer stays.
template <std::uint16_t Tag, auto Member>
struct CopiedItem : Item<Tag> {
  static constexpr bool is_copied = true;

  static void write(ItemWriter& writer, const auto& record, std::uint64_t size) {
    writer.put(Tag, static_cast<std::uint16_t>(size), record.*Member);
  }

  static void take(ItemValue, auto&) {}

 protected:
  static bool set_copy(ItemValue value, auto& record, std::uint64_t size) {
    using Pointer = typename MemberPointer<decltype(Member)>::Value;
    void* const copy = copy_of(value, size);
    if (copy == nullptr) return false;
    record.*Member = static_cast<Pointer>(copy);
    return true;
  }
};

// NUL-terminated text; null means empty.
template <std::uint16_t Tag, auto Member>
struct Text : CopiedItem<Tag, Member> {
  static std::uint64_t value_size(const auto& record) {
    return record.*Member != nullptr ? std::strlen(record.*Member) : 0;
  }

  static void copy(ItemValue value, auto& record) {
    Text::set_copy(value, record, value.length + std::uint64_t{1});
  }
};

// Opaque data. The length member is set to the length of the last such item, even if it is empty or
// could not be copied. The decoded copy is followed by a NUL.
template <std::uint16_t Tag, auto Member, auto Length>
struct Data : CopiedItem<Tag, Member> {
  static constexpr bool looks_ahead = true;

  static std::uint64_t value_size(const auto& record) { return record.*Length; }

  static void take(ItemValue value, auto& record) { record.*Length = value.length; }

  static void copy(ItemValue value, auto& record) {
    const std::uint32_t claimed = record.*Length;
    Data::set_copy(value, record, std::max<std::uint64_t>(value.length, claimed) + 1);
  }
};

// The same, but the lengths of repeated items add up, without those that could not be copied.
template <std::uint16_t Tag, auto Member, auto Length>
struct GrowingData : CopiedItem<Tag, Member> {
  static std::uint64_t value_size(const auto& record) { return record.*Length; }

  static void copy(ItemValue value, auto& record) {
    const std::uint64_t length = std::uint64_t{record.*Length} + value.length;
    if (!GrowingData::set_copy(value, record, length + 1)) return;
    record.*Length = static_cast<std::uint32_t>(length);
  }
};

// Opaque data whose length is in the fixed block; ignored when the pointer is null. The decoded
// copy is as long as the item or, if that is more, the low 16 bits of that length.
template <std::uint16_t Tag, auto Member, auto Length>
struct BlockSizedData : CopiedItem<Tag, Member> {
  static constexpr bool looks_ahead = true;

  static std::uint64_t value_size(const auto& record) {
    return record.*Member != nullptr ? fixed_part(record).*Length : 0;
  }

  static void copy(ItemValue value, auto& record) {
    const auto carried = static_cast<std::uint16_t>(fixed_part(record).*Length);
    BlockSizedData::set_copy(value, record, std::max(value.length, carried));
  }
};

}  // namespace aaa
