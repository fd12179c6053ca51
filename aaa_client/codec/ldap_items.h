// What the two LDAP records share.
#pragma once

#include <cstdint>

#include "aaa_codec.h"
#include "codec/item_reader.h"
#include "codec/item_writer.h"

namespace aaa {

enum LdapItem : std::uint16_t {
  kLdapText301 = 301,
  kLdapText306 = 306,
  kLdapText307 = 307,
  ldap_attribute_item = 308,
  kLdapText309 = 309,
  ldap_entry_item = 310,
  ldap_dn_item = 311,
  ldap_name_item = 312,
  ldap_value_item = 313
};

// On the wire.
inline std::uint64_t item_size(const aaa_item& item) {
  return tlv_header_size + item.len;
}

// In the pool, with the NUL.
inline std::uint64_t pool_size(const aaa_item& item) {
  return std::uint64_t{item.len} + 1;
}

// Takes the reader's item; its value stays in the body until the pool is filled.
inline void take_item(ItemReader& reader, aaa_item& item) {
  item = {static_cast<std::uint16_t>(reader.type()), reader.length(), reader.value()};
  reader.pass_item();
}

}  // namespace aaa
