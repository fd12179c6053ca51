// Reads every byte that a record calls readable, for the sanitizers to see.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "codec/records.h"

namespace traffic {

inline void require(bool condition) {
  if (!condition) std::abort();
}

inline void touch(const void* bytes, std::size_t count) {
  const volatile auto* first = static_cast<const volatile std::uint8_t*>(bytes);
  for (std::size_t i = 0; i < count; i++)
    static_cast<void>(first[i]);
}

// A value with a NUL behind it, or none.
inline void touch(const aaa_item& item) {
  require((item.value == nullptr) == (item.len == 0));
  if (item.value == nullptr) return;
  touch(item.value, item.len);
  require(static_cast<const std::uint8_t*>(item.value)[item.len] == 0);
}

inline void touch(const aaa_arena& arena) {
  touch(arena.base, arena.size);
  require(arena.used <= arena.size);
}

template <typename Record>
void touch_items(Record& record) {
  using C = test::Codec<Record>;
  for (const auto& descriptor : C::descriptors) {
    const aaa_item& item = record.*descriptor.member;
    const bool in_arena = std::count(C::arena_order.begin(), C::arena_order.end(), descriptor.tag);
    in_arena ? touch(item) : touch(item.value, item.len);
  }
  for (const auto& data : C::datas)
    if (record.*data.data != nullptr) touch(record.*data.data, record.*data.length + 1U);
  if constexpr (test::has_ext_text<Record>) {
    if (C::ext_text(record) != nullptr)
      touch(C::ext_text(record), std::strlen(C::ext_text(record)));
  }
  if constexpr (test::has_ext_data<Record>) {
    const std::size_t readable = C::ext_data_len(record) & 0xFFFF;
    if (C::ext_data(record) != nullptr) touch(C::ext_data(record), readable);
  }
  touch(record.arena);
}

inline void touch_items(ldap_search_info& record) {
  for (const aaa_item* item : {&record.item_301, &record.item_306, &record.item_307})
    touch(*item);
  for (std::uint32_t i = 0; i < record.head.attr_count; i++)
    touch(record.attributes[i]);
  touch(record.pool);
}

inline void touch_items(ldap_search_result& record) {
  touch(record.item_309);
  touch(record.item_306);
  for (std::uint32_t i = 0; i < record.head.entry_count; i++) {
    const ldap_dn_entry& entry = record.entries[i];
    touch(entry.dn);
    for (std::uint32_t pair = 0; entry.pairs != nullptr && pair < entry.pair_count; pair++) {
      touch(entry.pairs[pair].name);
      touch(entry.pairs[pair].value);
    }
  }
  touch(record.pool);
}

}  // namespace traffic
