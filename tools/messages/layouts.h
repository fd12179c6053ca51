// The library's record layouts, which are types, as plain data.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "codec/flat_blocks.h"
#include "codec/record_tables.h"
#include "messages/catalogue.h"
#include "messages/member_name.h"

namespace aaa_messages {

template <typename Member>
constexpr Kind kind_of_member() {
  using Element = std::remove_all_extents_t<Member>;
  if constexpr (std::is_same_v<Element, char> || std::is_pointer_v<Member>) return Kind::text;
  if constexpr (!std::is_array_v<Member>) return Kind::number;
  return std::is_same_v<Element, std::uint8_t> ? Kind::octets : Kind::words;
}

template <typename Row>
struct LayoutRow;

template <std::size_t Offset, auto Member, typename RowKind>
struct LayoutRow<aaa::Row<Offset, Member, RowKind>> {
  static constexpr Row row = {member_name<Member>(), Offset, RowKind::width,
                              kind_of_member<typename RowKind::Value>()};
};

template <typename Layout>
struct LayoutRows;

template <typename Record, std::size_t Size, typename... Rows>
struct LayoutRows<aaa::Layout<Record, Size, Rows...>> {
  static Block block(std::size_t size = Size) { return {size, {LayoutRow<Rows>::row...}}; }
};

template <typename Layout>
Block block_of() {
  return LayoutRows<Layout>::block();
}

// The front of a block.
template <typename Layout>
Block block_of(std::size_t size) {
  return LayoutRows<Layout>::block(size);
}

// ---- Items. ---------------------------------------------------------------------------------

template <typename Item>
struct LayoutItem;

template <typename Layout>
struct LayoutItem<aaa::FixedBlock<Layout>> {
  static Item item() {
    static const Block block = block_of<Layout>();
    return {.tag = 1, .name = "fixed_block", .block = &block};
  }
};

template <std::uint16_t Tag, auto Member, Kind ValueKind>
struct ValueItem {
  static Item item() { return {.tag = Tag, .name = member_name<Member>(), .kind = ValueKind}; }
};

template <std::uint16_t Tag, auto Member>
struct LayoutItem<aaa::Value<Tag, Member>> : ValueItem<Tag, Member, Kind::octets> {};
template <std::uint16_t Tag, auto Member>
struct LayoutItem<aaa::BorrowedValue<Tag, Member>> : ValueItem<Tag, Member, Kind::octets> {};
template <std::uint16_t Tag, auto Member>
struct LayoutItem<aaa::Text<Tag, Member>> : ValueItem<Tag, Member, Kind::text> {};
template <std::uint16_t Tag, auto Member, auto Length>
struct LayoutItem<aaa::Data<Tag, Member, Length>> : ValueItem<Tag, Member, Kind::octets> {};
template <std::uint16_t Tag, auto Member, auto Length>
struct LayoutItem<aaa::GrowingData<Tag, Member, Length>> : ValueItem<Tag, Member, Kind::octets> {};
template <std::uint16_t Tag, auto Member, auto Length>
struct LayoutItem<aaa::BlockSizedData<Tag, Member, Length>> : ValueItem<Tag, Member, Kind::octets> {
};

template <typename List>
struct LayoutItems;

template <typename... Items>
struct LayoutItems<aaa::ItemList<Items...>> {
  static std::vector<Item> items() { return {LayoutItem<Items>::item()...}; }
};

}  // namespace aaa_messages
