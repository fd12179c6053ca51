// The items of an LDAP search and of its answer.
#pragma once

#include <cstdint>

namespace aaa {

enum LdapItem : std::uint16_t {
  item_301 = 301,
  item_306 = 306,
  item_307 = 307,
  attribute_item = 308,
  item_309 = 309,
  entry_item = 310,
  dn_item = 311,
  name_item = 312,
  value_item = 313
};

inline constexpr std::uint32_t entry_head_size = 8;  // type, body length, pair count

}  // namespace aaa
