// One encoder and one decoder for all records whose body is a fixed block followed by items. A
// record is described by a struct:
//
//   Record           the record's type
//   Block            the layout of its fixed block
//   Items            its items, in wire order
//   ArenaOrder       its descriptors, in the order in which the arena holds their values
//   unknown_item     how a decoder treats an item that the record does not define
//   release_copies   frees the blocks that the record owns, without its arena
#pragma once

#include <cstddef>
#include <cstdint>

#include "codec/record_items.h"
#include "codec/record_shape.h"
#include "codec/tlv.h"
#include "transport/base/memory.h"

namespace aaa {

template <auto... Members>
struct ValueOrder {
  static constexpr std::size_t count = sizeof...(Members);

  template <typename Record>
  static constexpr aaa_item Record::*places[] = {Members...};
};

template <typename... Items>
struct ItemList {
  static constexpr std::size_t count = sizeof...(Items);
  static constexpr std::size_t arena_values = (std::size_t{Items::in_arena} + ...);

  template <typename Record>
  static constexpr TypedItemRow<Record> rows[] = {Items::template row<Record>...};

  // The block comes first, the values of the arena follow, and then the other items.
  static constexpr bool are_in_order() {
    std::size_t i = 0;
    bool in_order = true;
    ((in_order = in_order && Items::in_arena == (i >= 1 && i <= arena_values), ++i), ...);
    return in_order;
  }
};

template <typename Codec>
struct BlockCode {
  using Block = typename Codec::Block;
  using Fixed = typename Block::Record;

  static void encode(std::uint8_t* block, const void* fixed) {
    Block::encode(block, *static_cast<const Fixed*>(fixed));
  }
  static void decode(const std::uint8_t* block, void* fixed) {
    Block::decode(block, *static_cast<Fixed*>(fixed));
  }
};

template <typename Codec>
constexpr RecordShape shape_of() {
  using Record = typename Codec::Record;
  using Items = typename Codec::Items;
  using Order = typename Codec::ArenaOrder;
  static_assert(sizeof(TypedItemRow<Record>) == sizeof(ItemRow));
  static_assert(Items::are_in_order());
  static_assert(Items::count - Items::arena_values - 1 <= RecordShape::max_others);
  static_assert(Codec::Block::size <= RecordShape::max_block);
  static_assert(Order::count == Items::arena_values, "the arena order leaves a value out");
  return {.items = Items::template rows<Record>,
          .arena_order = Order::template places<Record>,
          .encode_block = BlockCode<Codec>::encode,
          .decode_block = BlockCode<Codec>::decode,
          .item_count = Items::count,
          .value_count = Order::count,
          .unknown_item = Codec::unknown_item};
}

template <typename Codec>
inline constexpr RecordShape shape = shape_of<Codec>();

template <typename Record>
RecordParts parts_of(Record& record) {
  return {&record, &fixed_part(record)};
}

template <typename Codec>
std::uint32_t encode(typename Codec::Record* record, void** body) {
  if (record == nullptr || body == nullptr) return 0;
  return encode_record(shape<Codec>, parts_of(*record), body);
}

template <typename Codec>
void free_record(typename Codec::Record* record) {
  if (record == nullptr) return;
  AAA_FREE(record->arena.base);
  Codec::release_copies(*record);
  AAA_FREE(record);
}

template <typename Codec>
std::uint32_t decode(typename Codec::Record** result, const void* bytes, std::int32_t length) {
  using Record = typename Codec::Record;
  if (result == nullptr || bytes == nullptr) return 0;
  if (static_cast<std::uint32_t>(length) < Codec::Block::size) return 0;
  auto* const record = allocate_zeroed<Record>(1);
  if (record == nullptr) return 0;
  const Body body(bytes, length);
  take_items(shape<Codec>, parts_of(*record), body);
  if (!gather_values(shape<Codec>, record, body, record->arena)) {
    free_record<Codec>(record);
    return 0;
  }
  record->arena.used = 0;  // only LDAP records report it
  *result = record;
  return 1;
}

}  // namespace aaa
