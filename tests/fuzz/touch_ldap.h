// Reads everything that a record of an LDAP search refers to.
#pragma once

#include "fuzz/touch.h"

namespace fuzz {

// Arrays of a thousand elements. Larger ones only cost time.
inline constexpr std::size_t kLargestLdapBlock = 16384;

inline void touch_items(ldap_search_info& record) {
  touch(record.item_301);
  touch(record.item_306);
  touch(record.item_307);
  for (std::uint32_t i = 0; i < record.head.attr_count; i++)
    touch(record.attributes[i]);
  touch(record.pool);
}

inline void touch_entry(const ldap_dn_entry& entry) {
  touch(entry.dn);
  if (entry.pairs == nullptr) return;
  for (std::uint32_t i = 0; i < entry.pair_count; i++) {
    touch(entry.pairs[i].name);
    touch(entry.pairs[i].value);
  }
}

inline void touch_items(ldap_search_result& record) {
  touch(record.item_309);
  touch(record.item_306);
  for (std::uint32_t i = 0; i < record.head.entry_count; i++)
    touch_entry(record.entries[i]);
  touch(record.pool);
}

}  // namespace fuzz
