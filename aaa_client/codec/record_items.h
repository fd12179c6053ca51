// The kinds of item that the info records consist of. Each kind tells for one item
//
//   value_size  how many bytes the encoder counts for its value,
//   write       how it is written (its header's length is the low 16 bits of the size),
//   take        what a decoder keeps of an item,
//   copy        how a decoder copies an item that is not empty into a block of its own,
//   release     how that copy is given back.
//
// No copy is shorter than the length that stands beside it in the decoded record. Where later items
// of the body may change that length (`looks_ahead`), they are taken before the copy is made.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "aaa_codec.h"
#include "codec/allocation.h"
#include "codec/data_copy.h"
#include "codec/item_reader.h"
#include "codec/item_writer.h"
#include "transport/base/memory.h"

namespace aaa {

// A value inside a record: a member, a member's member, or without any the record itself.
template <auto... Members>
struct Field {
  template <typename Record>
  static Record& of(Record& record) {
    return record;
  }
};
template <auto First, auto... Rest>
struct Field<First, Rest...> {
  template <typename Record>
  static auto& of(Record& record) {
    return Field<Rest...>::of(record.*First);
  }
};

template <std::uint16_t Tag>
struct Item {
  static constexpr std::uint16_t tag = Tag;
  static constexpr std::uint16_t fixed_size = 0;  // of the fixed block
  static constexpr bool gathered = false;         // moved into the arena
  static constexpr bool owned = false;            // has a block of its own
  static constexpr bool looks_ahead = false;      // copied when all later items are taken
};

// The fixed block; ignored when its length is another one.
template <typename Block, typename Part = Field<>>
struct FixedBlock : Item<1> {
  static constexpr std::uint16_t fixed_size = Block::size;

  template <typename Record>
  static std::uint64_t value_size(const Record&) {
    return fixed_size;
  }

  template <typename Record>
  static void write(ItemWriter& writer, const Record& record, std::uint64_t) {
    Block::encode(writer.open(1, fixed_size), Part::of(record));
  }

  template <typename Record>
  static void take(ItemValue value, Record& record) {
    if (value.length != fixed_size) return;
    if (value.there == fixed_size) {
      Block::decode(value.bytes, Part::of(record));
    } else {
      take_cut(value, record);
    }
  }

 private:
  // A block that the body's end cuts.
  template <typename Record>
  [[gnu::noinline]] static void take_cut(ItemValue value, Record& record) {
    std::uint8_t padded[fixed_size];
    value.copy(padded);
    Block::decode(padded, Part::of(record));
    wipe(padded, sizeof padded);
  }
};

// A value held by a descriptor. Until the arena is filled it points into the body.
template <std::uint16_t Tag, auto Member>
struct Value : Item<Tag> {
  static constexpr bool gathered = true;

  template <typename Record>
  static std::uint64_t value_size(const Record& record) {
    return (record.*Member).len;
  }

  template <typename Record>
  static void write(ItemWriter& writer, Record& record, std::uint64_t) {
    writer.put(record.*Member, Tag);
  }

  template <typename Record>
  static void take(ItemValue value, Record& record) {
    record.*Member = {Tag, value.length, value.bytes};
  }

  template <typename Record>
  static aaa_item& descriptor(Record& record) {
    return record.*Member;
  }
};

// A value that keeps pointing into the body after decoding, cut at the body's end; null when empty.
template <std::uint16_t Tag, auto Member>
struct BorrowedValue : Value<Tag, Member> {
  static constexpr bool gathered = false;

  template <typename Record>
  static void take(ItemValue value, Record& record) {
    record.*Member = {Tag, value.there, value.there == 0 ? nullptr : value.bytes};
  }
};

template <std::uint16_t Tag, auto Member>
struct OwnedItem : Item<Tag> {
  static constexpr bool owned = true;

  template <typename Record>
  static void take(ItemValue, Record&) {}

  template <typename Record>
  static void write(ItemWriter& writer, const Record& record, std::uint64_t size) {
    writer.put(Tag, static_cast<std::uint16_t>(size), record.*Member);
  }

  template <typename Record>
  static void release(const Record& record, const char* function) {
    deallocate(record.*Member, function);
  }
};

// NUL-terminated text; null stands for an empty one.
template <std::uint16_t Tag, auto Member>
struct Text : OwnedItem<Tag, Member> {
  template <typename Record>
  static std::uint64_t value_size(const Record& record) {
    return record.*Member != nullptr ? std::strlen(record.*Member) : 0;
  }

  template <typename Record>
  static void copy(ItemValue value, Record& record, const char* function) {
    const std::uint8_t* copy = copy_of(value, std::uint64_t{value.length} + 1, function);
    if (copy != nullptr) record.*Member = reinterpret_cast<const char*>(copy);
  }
};

// Opaque data whose length field is the item's own and is set to the length of the last item, also
// when that one is empty or finds no memory. The decoded copy has a NUL behind it.
template <std::uint16_t Tag, auto Member, auto Length>
struct Data : OwnedItem<Tag, Member> {
  static constexpr bool looks_ahead = true;

  template <typename Record>
  static std::uint64_t value_size(const Record& record) {
    return record.*Length;
  }

  template <typename Record>
  static void take(ItemValue value, Record& record) {
    record.*Length = value.length;
  }

  template <typename Record>
  static void copy(ItemValue value, Record& record, const char* function) {
    const std::uint64_t length = std::max<std::uint64_t>(value.length, record.*Length);
    const std::uint8_t* copy = copy_of(value, length + 1, function);
    if (copy != nullptr) record.*Member = copy;
  }
};

// The same, but the lengths of repeated items add up, without those that find no memory.
template <std::uint16_t Tag, auto Member, auto Length>
struct GrowingData : OwnedItem<Tag, Member> {
  template <typename Record>
  static std::uint64_t value_size(const Record& record) {
    return record.*Length;
  }

  template <typename Record>
  static void copy(ItemValue value, Record& record, const char* function) {
    const std::uint64_t length = std::uint64_t{record.*Length} + value.length;
    const std::uint8_t* copy = copy_of(value, length + 1, function);
    if (copy == nullptr) return;
    record.*Member = copy;
    record.*Length = static_cast<std::uint32_t>(length);
  }
};

// Opaque data whose length stands in the fixed block and counts only with the pointer set. The
// decoded copy is as long as the item or, if that is more, as what the encoder carries of it.
template <std::uint16_t Tag, auto Member, typename Length>
struct BlockSizedData : OwnedItem<Tag, Member> {
  static constexpr bool looks_ahead = true;

  template <typename Record>
  static std::uint64_t value_size(const Record& record) {
    return record.*Member != nullptr ? Length::of(record) : 0;
  }

  template <typename Record>
  static void copy(ItemValue value, Record& record, const char* function) {
    const auto carried = static_cast<std::uint16_t>(Length::of(record));
    const std::uint8_t* copy = copy_of(value, std::max(value.length, carried), function);
    if (copy != nullptr) record.*Member = copy;
  }
};

}  // namespace aaa
