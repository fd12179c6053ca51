// The kinds of item that the info records consist of. Each kind tells for one item
//
//   value_size  how many bytes the encoder counts for its value,
//   write       how it is written (its header's length is the low 16 bits of the size),
//   take        what a decoder does with an item of the body,
//   settle      what a decoder does when all items are taken,
//   release     how a decoded copy is given back.
//
// `held` counts the bytes that the item's own block holds while a body is decoded.
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

  template <typename Record>
  static void settle(Record&, std::uint32_t, const char*) {}
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
  static void take(ItemValue value, Record& record, std::uint32_t&, const char*) {
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
  static void take(ItemValue value, Record& record, std::uint32_t&, const char*) {
    record.*Member = {Tag, value.length, value.bytes};
  }

  template <typename Record>
  static aaa_item& descriptor(Record& record) {
    return record.*Member;
  }
};

// A value that keeps pointing into the body after decoding, cut at the body's end.
template <std::uint16_t Tag, auto Member>
struct BorrowedValue : Value<Tag, Member> {
  static constexpr bool gathered = false;

  template <typename Record>
  static void take(ItemValue value, Record& record, std::uint32_t&, const char*) {
    record.*Member = {Tag, value.there, value.bytes};
  }
};

template <std::uint16_t Tag, auto Member>
struct OwnedItem : Item<Tag> {
  static constexpr bool owned = true;

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
  static void take(ItemValue value, Record& record, std::uint32_t&, const char* function) {
    const std::uint8_t* copy = copy_value(value, 1, function);
    if (copy != nullptr) record.*Member = reinterpret_cast<const char*>(copy);
  }
};

// Opaque data whose length field is the item's own and is set to the length of the last item. The
// decoded copy has a NUL behind it.
template <std::uint16_t Tag, auto Member, auto Length>
struct Data : OwnedItem<Tag, Member> {
  template <typename Record>
  static std::uint64_t value_size(const Record& record) {
    return record.*Length;
  }

  template <typename Record>
  static void take(ItemValue value, Record& record, std::uint32_t& held, const char* function) {
    record.*Length = value.length;
    const std::uint8_t* copy = copy_value(value, 1, function);
    if (copy == nullptr) return;
    record.*Member = copy;
    held = value.length;
  }

  // A repeated item can leave a length that the last block falls short of.
  template <typename Record>
  static void settle(Record& record, std::uint32_t held, const char* function) {
    if (held == 0 || record.*Length <= held) return;
    record.*Member = extend_copy(record.*Member, held, std::uint64_t{record.*Length} + 1, function);
    if (record.*Member == nullptr) record.*Length = 0;
  }
};

// The same, but the lengths of repeated items add up.
template <std::uint16_t Tag, auto Member, auto Length>
struct GrowingData : Data<Tag, Member, Length> {
  template <typename Record>
  static void take(ItemValue value, Record& record, std::uint32_t& held, const char* function) {
    const std::uint8_t* copy = copy_value(value, 1, function);
    if (copy == nullptr) return;
    record.*Member = copy;
    record.*Length += value.length;
    held = value.length;
  }
};

// Opaque data whose length travels in the fixed block and counts only with the pointer set. The
// decoded copy is exactly as long as the item.
template <std::uint16_t Tag, auto Member, typename Length>
struct BlockSizedData : OwnedItem<Tag, Member> {
  template <typename Record>
  static std::uint64_t value_size(const Record& record) {
    return record.*Member != nullptr ? Length::of(record) : 0;
  }

  template <typename Record>
  static void take(ItemValue value, Record& record, std::uint32_t& held, const char* function) {
    const std::uint8_t* copy = copy_value(value, 0, function);
    if (copy == nullptr) return;
    record.*Member = copy;
    held = value.length;
  }

  // An item shorter than the fixed block promises must not make the encoder read behind it.
  template <typename Record>
  static void settle(Record& record, std::uint32_t held, const char* function) {
    const std::uint32_t promised = std::min<std::uint32_t>(Length::of(record), UINT16_MAX);
    if (held == 0 || promised <= held) return;
    record.*Member = extend_copy(record.*Member, held, promised, function);
  }
};

}  // namespace aaa
