// What the two LDAP records share.
#pragma once

#include <cstdint>

#include "aaa_codec.h"
#include "codec/allocation.h"
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

// The array whose count a head tells; none for a count of 0. False when memory ran out.
template <typename Element>
bool allocate_array(Element*& array, std::uint32_t count, const char* function) {
  if (count == 0) return true;
  array = allocate_zeroed<Element>(count, function);
  return array != nullptr;
}

// `decode` fills the zeroed record from the body; what it has filled when it fails is discarded.
template <typename Record>
std::uint32_t parse_ldap(Record** result, const void* body, std::int32_t length,
                         bool (*decode)(const Body&, Record&, const char*),
                         void (*discard)(Record*, const char*), const char* function) {
  if (result == nullptr || body == nullptr) return 0;
  if (static_cast<std::uint32_t>(length) < sizeof(Record::head)) return 0;
  auto* record = allocate_zeroed<Record>(1, function);
  if (record == nullptr) return 0;
  if (!decode(Body(body, length), *record, function)) {
    discard(record, function);
    return 0;
  }
  *result = record;
  return 1;
}

}  // namespace aaa
