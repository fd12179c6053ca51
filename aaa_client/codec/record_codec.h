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
#include "codec/tlv.h"
#include "transport/base/memory.h"

namespace aaa {

// skip_header parses the value as further items, as aaad does for that record.
enum class UnknownItem { skip_header, skip_item };

template <auto... Members>
struct ValueOrder {
  static constexpr std::size_t count = sizeof...(Members);

  template <typename Record, typename Visit>
  static void for_each(Record& record, Visit visit) {
    (visit(record.*Members), ...);
  }
};

template <typename... Items>
struct ItemList {
  static constexpr std::size_t arena_values = (std::size_t{Items::in_arena} + ...);

  static std::uint32_t encode(auto& record, void** body) {
    // Each size is computed once: strlen() is costly.
    std::uint64_t body_size = 0;
    const auto counted = [&](std::uint64_t size) {
      body_size += tlv_header_size + size;
      return size;
    };
    const std::uint64_t sizes[] = {counted(Items::value_size(record))...};
    std::uint8_t* const bytes = allocate(body_size);
    if (bytes == nullptr) return 0;
    ItemWriter writer(bytes);
    const std::uint64_t* size = sizes;
    (Items::write(writer, record, *size++), ...);
    writer.clear_rest(bytes + body_size);
    *body = bytes;
    return static_cast<std::uint32_t>(body_size);
  }
};

template <typename Codec>
std::uint32_t encode(typename Codec::Record* record, void** body) {
  if (record == nullptr || body == nullptr) return 0;
  return Codec::Items::encode(*record, body);
}

template <typename Item, typename Visit>
bool visit_if(Item kind, ItemReader& reader, Visit& visit) {
  if (reader.type() != Item::tag) return false;
  // Most items are empty. A separate branch lets the processor predict that and load the next
  // header early.
  if (reader.length() == 0) {
    visit(kind, reader);
    reader.skip_header();
  } else {
    visit(kind, reader);
    reader.skip_item();
  }
  return true;
}

// Calls `visit` with the kind of each item of the body from `first` on, and the item.
template <typename Codec, typename... Items, typename Visit>
void for_each_item(ItemList<Items...>, Body body, const std::uint8_t* first, Visit visit) {
  ItemReader reader(body, first, body.end());
  while (reader.type() != ItemReader::no_item) {
    // A well-formed body has the items in wire order: one iteration consumes them all.
    bool known = false;
    ((known |= visit_if(Items(), reader, visit)), ...);
    if (known) continue;
    if constexpr (Codec::unknown_item == UnknownItem::skip_item) {
      reader.skip_item();
    } else {
      reader.skip_header();
    }
  }
}

// Items are copied when found. From the first item whose copy depends on later ones, copying waits
// for a second walk.
template <typename Codec>
void take_items(Body body, typename Codec::Record& record) {
  const typename Codec::Items items;
  const std::uint8_t* second_walk = nullptr;
  const auto take = [&](auto kind, const ItemReader& item) {
    kind.take(item.item_value(), record);
    if constexpr (kind.is_copied) {
      if (item.length() == 0 || second_walk != nullptr) return;
      if constexpr (kind.looks_ahead) {
        second_walk = item.item();
      } else {
        kind.copy(item.item_value(), record);
      }
    }
  };
  for_each_item<Codec>(items, body, body.at(0), take);
  if (second_walk == nullptr) return;
  const auto copy = [&](auto kind, const ItemReader& item) {
    if constexpr (kind.is_copied) {
      if (item.length() != 0) kind.copy(item.item_value(), record);
    }
  };
  for_each_item<Codec>(items, body, second_walk, copy);
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
  static_assert(Codec::ArenaOrder::count == Codec::Items::arena_values,
                "the arena order leaves a value out");
  if (result == nullptr || bytes == nullptr) return 0;
  if (static_cast<std::uint32_t>(length) < Codec::Block::size) return 0;
  auto* const record = allocate_zeroed<Record>(1);
  if (record == nullptr) return 0;
  const Body body(bytes, length);
  take_items<Codec>(body, *record);
  const bool filled = fill_arena(record->arena, body,
                                 [&](auto visit) { Codec::ArenaOrder::for_each(*record, visit); });
  if (!filled) {
    free_record<Codec>(record);
    return 0;
  }
  record->arena.used = 0;  // only LDAP records report it
  *result = record;
  return 1;
}

}  // namespace aaa
