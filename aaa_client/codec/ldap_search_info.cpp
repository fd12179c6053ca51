// The question of an LDAP search: three texts and the attributes that are asked for.
#include <cstddef>
#include <cstdint>
#include <span>

#include "aaa_codec.h"
#include "codec/allocation.h"
#include "codec/item_reader.h"
#include "codec/item_writer.h"
#include "codec/ldap_items.h"
#include "codec/value_arena.h"

namespace aaa {
namespace {

constexpr std::uint32_t head_size = 40;
static_assert(sizeof(ldap_search_head) == head_size);

std::span<aaa_item> attributes_of(const ldap_search_info& record) {
  return {record.attributes, record.attributes != nullptr ? record.head.attr_count : 0};
}

std::uint64_t body_size(const ldap_search_info& record) {
  std::uint64_t size = head_size + item_size(record.item_306) + item_size(record.item_307) +
                       item_size(record.item_301);
  for (const aaa_item& attribute : attributes_of(record))
    size += item_size(attribute);
  return size;
}

void take_items(ItemReader reader, ldap_search_info& record) {
  const std::span<aaa_item> attributes = attributes_of(record);
  std::size_t filled = 0;
  while (reader.type() != ItemReader::no_item) {
    if (reader.type() == kLdapText301) {
      take_item(reader, record.item_301);
    } else if (reader.type() == kLdapText306) {
      take_item(reader, record.item_306);
    } else if (reader.type() == kLdapText307) {
      take_item(reader, record.item_307);
    } else if (reader.type() != ldap_attribute_item || attributes.empty()) {
      reader.pass_header();
    } else if (filled < attributes.size()) {
      take_item(reader, attributes[filled++]);
    } else {
      reader.pass_item();
    }
  }
}

bool fill_pool(const Body& body, ldap_search_info& record, const char* function) {
  std::uint64_t size =
      pool_size(record.item_301) + pool_size(record.item_306) + pool_size(record.item_307);
  for (const aaa_item& attribute : attributes_of(record))
    size += pool_size(attribute);
  ValueArena pool(body, size, function);
  if (!pool.allocated()) return false;
  pool.take(record.item_301);
  pool.take(record.item_306);
  pool.take(record.item_307);
  for (aaa_item& attribute : attributes_of(record))
    pool.take(attribute);
  record.pool.used = pool.finish(record.pool);
  return true;
}

bool decode(const Body& body, ldap_search_info& record, const char* function) {
  body.copy(&record.head, body.at(0), head_size);
  if (!allocate_array(record.attributes, record.head.attr_count, function)) return false;
  take_items(ItemReader(body, body.at(head_size), body.end()), record);
  return fill_pool(body, record, function);
}

void release(ldap_search_info* record, const char* function) {
  deallocate(record->attributes, function);
  deallocate(record->pool.base, function);
  deallocate(record, function);
}

}  // namespace
}  // namespace aaa

std::uint32_t aaa_encap_ldap_search_info(ldap_search_info* record, void** body) {
  if (record == nullptr || body == nullptr) return 0;
  const std::uint64_t size = aaa::body_size(*record);
  std::uint8_t* bytes = aaa::allocate(size, __func__);
  if (bytes == nullptr) return 0;
  aaa::ItemWriter writer(bytes);
  writer.put_bytes(&record->head, aaa::head_size);
  writer.put(record->item_306, aaa::kLdapText306);
  writer.put(record->item_307, aaa::kLdapText307);
  writer.put(record->item_301, aaa::kLdapText301);
  for (aaa_item& attribute : aaa::attributes_of(*record)) {
    writer.put(attribute, aaa::ldap_attribute_item);
  }
  *body = bytes;
  return static_cast<std::uint32_t>(size);
}

std::uint32_t aaa_parse_ldap_search_info(ldap_search_info** record, const void* body,
                                         std::int32_t length) {
  return aaa::parse_ldap(record, body, length, aaa::decode, aaa::release, __func__);
}

void aaa_free_ldap_search_info(ldap_search_info* record) {
  if (record != nullptr) aaa::release(record, __func__);
}
