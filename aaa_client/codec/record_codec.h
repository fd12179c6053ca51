// One encoder, one decoder and one release function for all records whose body is a fixed block
// followed by items. A record is described by a struct:
//
//   Record            the record's type
//   Items             ItemList of its items, in wire order
//   ArenaOrder        the descriptors in the order in which the arena holds them
//   ReleaseOrder      the blocks that a decoded record owns, in the order of their release
//   ArenaFailureOrder the blocks that are released when the arena cannot be allocated
//   unknown_item      how far a decoder passes an item that the record does not know
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <tuple>
#include <type_traits>
#include <utility>

#include "codec/allocation.h"
#include "codec/item_reader.h"
#include "codec/item_writer.h"
#include "codec/record_items.h"
#include "codec/value_arena.h"

namespace aaa {

enum class UnknownItem { pass_header, pass_item };

// Items by their tags. The arena stands in a release order as arena_block.
template <std::uint16_t... Tags>
struct Order {};
struct WireOrder {};
inline constexpr std::uint16_t arena_block = 0;

// Whether the body holds, from an item on, items of just these tags in this order, as every
// well-formed one does. By value and not inlined, so that the walk around it stays in registers.
[[gnu::noinline]] inline bool holds_just(Body body, const std::uint8_t* item,
                                         std::span<const std::uint16_t> tags) {
  for (const std::uint16_t tag : tags) {
    std::uint16_t header[2];
    if (body.available(item, sizeof header) < sizeof header) return false;
    std::memcpy(header, item, sizeof header);
    if (header[0] != tag) return false;
    item = body.after(item + sizeof header, header[1]);
  }
  return item == body.end();
}

template <typename... Items>
struct ItemList {
  static constexpr std::uint32_t fixed_size = (Items::fixed_size + ...);

  // Sizes of the values, each taken once: a text's is costly.
  using Sizes = std::array<std::uint64_t, sizeof...(Items)>;

  template <typename Record>
  static Sizes value_sizes(const Record& record) {
    return {Items::value_size(record)...};
  }

  static std::uint64_t body_size(const Sizes& sizes) {
    return std::apply([](auto... size) { return ((tlv_header_size + size) + ...); }, sizes);
  }

  // Returns the writer behind the last item. By value, so that it stays in registers.
  template <typename Record>
  static ItemWriter write(ItemWriter writer, Record& record, const Sizes& sizes) {
    std::apply([&](auto... size) { (Items::write(writer, record, size), ...); }, sizes);
    return writer;
  }

  // A well-formed body holds the items in wire order, so that one pass over the list takes all.
  template <UnknownItem Unknown, typename Record>
  static void take(const Body& body, Record& record, const char* function) {
    take<Unknown>(body, record, function, std::index_sequence_for<Items...>());
  }

 private:
  // The tags of the items behind the one of that index.
  template <std::size_t Index>
  static std::span<const std::uint16_t> tags_behind() {
    static constexpr std::uint16_t tags[] = {Items::tag...};
    return std::span(tags).subspan(Index + 1);
  }

  template <UnknownItem Unknown, typename Record, std::size_t... I>
  static void take(const Body& body, Record& record, const char* function,
                   std::index_sequence<I...>) {
    ItemReader reader(body);
    bool rest_in_order = false;
    while (reader.type() != ItemReader::no_item) {
      bool known = false;
      ((known = take_if<Unknown, Items, I>(reader, record, rest_in_order, function) || known), ...);
      if (!known) pass_unknown<Unknown>(reader);
    }
  }

  template <UnknownItem Unknown, typename Item, std::size_t I, typename Record>
  static bool take_if(ItemReader& reader, Record& record, bool& rest_in_order,
                      const char* function) {
    if (reader.type() != Item::tag) return false;
    if (reader.length() == 0) {
      // Most items are empty. Expecting that, the processor has the next header before this one.
      Item::take({reader.value(), 0, 0}, record);
      reader.pass_header();
      return true;
    }
    if constexpr (Item::looks_ahead) {
      rest_in_order = rest_in_order || holds_just(reader.body(), reader.end(), tags_behind<I>());
      if (!rest_in_order) {
        take_rest<Unknown>(reader.body(), reader.item(), record, function);
        reader.move_to(reader.body().end());
        return true;
      }
    }
    Item::take(reader.item_value(), record);
    copy_value<Item>(reader, record, function);
    reader.pass_item();
    return true;
  }

  // Takes the items from `item` on, and copies them when all are taken. Goes twice through the rest
  // of the body, however many items have to know what follows.
  template <UnknownItem Unknown, typename Record>
  [[gnu::noinline]] static void take_rest(Body body, const std::uint8_t* item, Record& record,
                                          const char* function) {
    const ItemReader reader(body, item, body.end());
    for_each_item<Unknown>(
        reader, [&]<typename Item>(const ItemReader& at) { Item::take(at.item_value(), record); });
    for_each_item<Unknown>(reader, [&]<typename Item>(const ItemReader& at) {
      if (at.length() != 0) copy_value<Item>(at, record, function);
    });
  }

  template <UnknownItem Unknown, typename Visit>
  static void for_each_item(ItemReader reader, Visit visit) {
    while (reader.type() != ItemReader::no_item) {
      if ((visit_if<Items>(reader, visit) || ...)) {
        reader.pass_item();
      } else {
        pass_unknown<Unknown>(reader);
      }
    }
  }

  template <typename Item, typename Visit>
  static bool visit_if(const ItemReader& reader, Visit visit) {
    if (reader.type() != Item::tag) return false;
    visit.template operator()<Item>(reader);
    return true;
  }

  template <typename Item, typename Record>
  static void copy_value(const ItemReader& reader, Record& record, const char* function) {
    if constexpr (Item::owned) Item::copy(reader.item_value(), record, function);
  }

  template <UnknownItem Unknown>
  static void pass_unknown(ItemReader& reader) {
    if constexpr (Unknown == UnknownItem::pass_item) {
      reader.pass_item();
    } else {
      reader.pass_header();
    }
  }
};

// ---- Orders other than the wire's. ----------------------------------------------------------

template <std::uint16_t Tag, typename First, typename... Rest>
struct FindItem : FindItem<Tag, Rest...> {};
template <std::uint16_t Tag, typename First, typename... Rest>
requires(First::tag == Tag) struct FindItem<Tag, First, Rest...> {
  using type = First;
};

template <typename List, typename Tags>
struct ArenaItems;

template <typename... Items>
struct ArenaItems<ItemList<Items...>, WireOrder> {
  using type = decltype(std::tuple_cat(
      std::declval<std::conditional_t<Items::gathered, std::tuple<Items>, std::tuple<>>>()...));
};

template <typename... Items, std::uint16_t... Tags>
struct ArenaItems<ItemList<Items...>, Order<Tags...>> {
  using type = std::tuple<typename FindItem<Tags, Items...>::type...>;
  static_assert((FindItem<Tags, Items...>::type::gathered && ...));
  static_assert(sizeof...(Tags) == (std::size_t{Items::gathered} + ...),
                "the arena order leaves a descriptor out");
};

template <std::uint16_t Tag, typename Record, typename... Items>
void release_block(Record& record, ItemList<Items...>, const char* function) {
  if constexpr (Tag == arena_block) {
    deallocate(record.arena.base, function);
  } else {
    FindItem<Tag, Items...>::type::release(record, function);
  }
}

template <typename Record, typename Items, std::uint16_t... Tags>
void release_blocks(Record& record, Items items, Order<Tags...>, const char* function) {
  (release_block<Tags>(record, items, function), ...);
}

template <typename... Items, std::uint16_t... Tags>
constexpr bool releases_all(ItemList<Items...>, Order<Tags...>) {
  return sizeof...(Tags) == 1 + (std::size_t{Items::owned} + ...);
}

// ---- The three functions of a record. -------------------------------------------------------

template <typename Record, typename... Items>
bool fill_arena(Record& record, const Body& body, std::tuple<Items...>*, const char* function) {
  const std::uint64_t size = ((Items::descriptor(record).len + std::uint64_t{1}) + ...);
  ValueArena arena(body, size, function);
  if (!arena.allocated()) return false;
  (arena.take(Items::descriptor(record)), ...);
  arena.finish(record.arena);
  return true;
}

template <typename Codec>
std::uint32_t encode(typename Codec::Record* record, void** body, const char* function) {
  if (record == nullptr || body == nullptr) return 0;
  const auto sizes = Codec::Items::value_sizes(*record);
  const std::uint64_t size = Codec::Items::body_size(sizes);
  std::uint8_t* bytes = allocate(size, function);
  if (bytes == nullptr) return 0;
  Codec::Items::write(ItemWriter(bytes), *record, sizes).clear_rest(bytes + size);
  *body = bytes;
  return static_cast<std::uint32_t>(size);
}

template <typename Codec>
std::uint32_t decode(typename Codec::Record** result, const void* bytes, std::int32_t length,
                     const char* function) {
  using Record = typename Codec::Record;
  using Items = typename Codec::Items;
  using Gathered = typename ArenaItems<Items, typename Codec::ArenaOrder>::type;
  if (result == nullptr || bytes == nullptr) return 0;
  if (static_cast<std::uint32_t>(length) < Items::fixed_size) return 0;
  auto* record = allocate_zeroed<Record>(1, function);
  if (record == nullptr) return 0;
  const Body body(bytes, length);
  Items::template take<Codec::unknown_item>(body, *record, function);
  if (!fill_arena(*record, body, static_cast<Gathered*>(nullptr), function)) {
    release_blocks(*record, Items(), typename Codec::ArenaFailureOrder(), function);
    deallocate(record, function);
    return 0;
  }
  *result = record;
  return 1;
}

template <typename Codec>
void release(typename Codec::Record* record, const char* function) {
  using Items = typename Codec::Items;
  using ReleaseOrder = typename Codec::ReleaseOrder;
  static_assert(releases_all(Items(), ReleaseOrder()), "a block is not released");
  if (record == nullptr) return;
  release_blocks(*record, Items(), ReleaseOrder(), function);
  deallocate(record, function);
}

}  // namespace aaa
