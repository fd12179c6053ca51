// LDAP searches. The question: three texts and the attributes that are asked for. The answer:
// entries with a distinguished name, each with pairs of name and value.
#include <cstddef>
#include <cstdint>
#include <span>

#include "aaa_codec.h"
#include "codec/ldap_items.h"
#include "codec/tlv.h"
#include "transport/base/memory.h"

namespace aaa {
namespace {

static_assert(offsetof(ldap_dn_entry, dn) == entry_head_size);
// The heads are sent as they are in memory.
static_assert(sizeof(ldap_search_head) == 40 && sizeof(ldap_result_head) == 24);

std::span<aaa_item> attributes_of(const ldap_search_info& record) {
  return {record.attributes, record.attributes != nullptr ? record.head.attr_count : 0};
}

std::span<ldap_dn_entry> entries_of(const ldap_search_result& record) {
  return {record.entries, record.entries != nullptr ? record.head.entry_count : 0};
}

std::span<ldap_pair> pairs_of(const ldap_dn_entry& entry) {
  return {entry.pairs, entry.pairs != nullptr ? entry.pair_count : 0};
}

// Pass all values to `visit`, in the order in which the pool of a decoded record holds them.
template <typename Visit>
void for_each_value(ldap_search_info& record, Visit visit) {
  visit(record.item_301);
  visit(record.item_306);
  visit(record.item_307);
  for (aaa_item& attribute : attributes_of(record))
    visit(attribute);
}

template <typename Visit>
void for_each_value(ldap_dn_entry& entry, Visit visit) {
  visit(entry.dn);
  for (ldap_pair& pair : pairs_of(entry)) {
    visit(pair.name);
    visit(pair.value);
  }
}

template <typename Visit>
void for_each_value(ldap_search_result& record, Visit visit) {
  visit(record.item_309);
  visit(record.item_306);
  for (ldap_dn_entry& entry : entries_of(record))
    for_each_value(entry, visit);
}

// ---- Encoding. ------------------------------------------------------------------------------

std::uint64_t item_size(const aaa_item& item) {
  return tlv_header_size + item.len;
}

std::uint64_t items_size(auto& holder) {
  std::uint64_t size = 0;
  for_each_value(holder, [&](const aaa_item& item) { size += item_size(item); });
  return size;
}

// Also sets `len` of every entry. Without an array, the body still has a head for every counted
// entry.
std::uint64_t body_size(ldap_search_result& record) {
  std::uint64_t size = sizeof record.head + item_size(record.item_309) +
                       item_size(record.item_306) +
                       std::uint64_t{entry_head_size} * record.head.entry_count;
  for (ldap_dn_entry& entry : entries_of(record)) {
    const std::uint64_t entry_size = items_size(entry);
    entry.len = static_cast<std::uint16_t>(entry_size);  // only 16 bits are sent
    size += entry_size;
  }
  return size;
}

void write_entry(ItemWriter& writer, ldap_dn_entry& entry) {
  entry.type = entry_item;
  writer.put_bytes(&entry, entry_head_size);
  writer.put(entry.dn, dn_item);
  for (ldap_pair& pair : pairs_of(entry)) {
    writer.put(pair.name, name_item);
    writer.put(pair.value, value_item);
  }
}

// ---- Decoding. ------------------------------------------------------------------------------

// Takes the reader's item; its value stays in the body until the pool is filled.
void take_item(ItemReader& reader, aaa_item& item) {
  item = {static_cast<std::uint16_t>(reader.type()), reader.length(), reader.value()};
  reader.skip_item();
}

void take_items(const Body& body, ldap_search_info& record) {
  ItemReader reader(body, body.at(sizeof record.head), body.end());
  const std::span<aaa_item> attributes = attributes_of(record);
  std::size_t filled = 0;
  while (reader.type() != ItemReader::no_item) {
    if (reader.type() == item_301) {
      take_item(reader, record.item_301);
    } else if (reader.type() == item_306) {
      take_item(reader, record.item_306);
    } else if (reader.type() == item_307) {
      take_item(reader, record.item_307);
    } else if (reader.type() != attribute_item || attributes.empty()) {
      reader.skip_header();
    } else if (filled < attributes.size()) {
      take_item(reader, attributes[filled++]);
    } else {
      reader.skip_item();
    }
  }
}

void take_entry_items(ItemReader reader, ldap_dn_entry& entry) {
  const std::span<ldap_pair> pairs = pairs_of(entry);
  std::size_t filled = 0;
  while (reader.type() != ItemReader::no_item) {
    const bool of_pair = reader.type() == name_item || reader.type() == value_item;
    if (reader.type() == dn_item) {
      take_item(reader, entry.dn);
    } else if (of_pair && pairs.empty()) {
      reader.skip_header();
    } else if (!of_pair || filled == pairs.size()) {
      reader.skip_item();
    } else if (reader.type() == name_item) {
      take_item(reader, pairs[filled].name);
    } else {
      take_item(reader, pairs[filled++].value);
    }
  }
}

// Allocates an array of `count` elements; none for 0. Returns false when there is no memory.
template <typename Element>
bool allocate_array(Element*& array, std::uint32_t count) {
  if (count == 0) return true;
  array = allocate_zeroed<Element>(count);
  return array != nullptr;
}

// Takes the entry that begins at `item` and ends before `end`.
void take_entry(const Body& body, const std::uint8_t* item, const std::uint8_t* end,
                ldap_dn_entry& entry) {
  body.copy(&entry, item, entry_head_size);
  if (!allocate_array(entry.pairs, entry.pair_count)) return;
  take_entry_items(ItemReader(body, body.after(item, entry_head_size), end), entry);
}

void take_items(const Body& body, ldap_search_result& record) {
  ItemReader reader(body, body.at(sizeof record.head), body.end());
  const std::span<ldap_dn_entry> entries = entries_of(record);
  std::size_t filled = 0;
  while (reader.type() != ItemReader::no_item) {
    if (reader.type() == item_309) {
      take_item(reader, record.item_309);
    } else if (reader.type() == item_306) {
      take_item(reader, record.item_306);
    } else if (reader.type() == entry_item && !entries.empty()) {
      const std::uint8_t* end = body.after(reader.item(), entry_head_size + reader.length());
      if (filled < entries.size()) {
        take_entry(body, reader.item(), end, entries[filled++]);
      }
      reader.move_to(end);
    } else {
      reader.skip_header();
    }
  }
}

// Fills what follows the head. Returns false when there is no memory.
template <typename Record, typename Element>
bool fill(Record& record, Body body, Element*& array, std::uint32_t count) {
  if (!allocate_array(array, count)) return false;
  take_items(body, record);
  return fill_arena(record.pool, body, [&](auto visit) { for_each_value(record, visit); });
}

// The record's array has as many elements as the count in its head says.
template <typename Record, typename Element, typename Head>
std::uint32_t decode(Record** result, const void* bytes, std::int32_t length,
                     Element* Record::*array, std::uint32_t Head::*count) {
  if (result == nullptr || bytes == nullptr) return 0;
  if (static_cast<std::uint32_t>(length) < sizeof(Head)) return 0;
  auto* const record = allocate_zeroed<Record>(1);
  if (record == nullptr) return 0;
  const Body body(bytes, length);
  body.copy(&record->head, body.at(0), sizeof(Head));
  if (!fill(*record, body, record->*array, record->head.*count)) {
    // The pairs of an answer's entries are not freed: when decoding fails, they are leaked.
    AAA_FREE(record->*array);
    AAA_FREE(record);
    return 0;
  }
  *result = record;
  return 1;
}

}  // namespace
}  // namespace aaa

std::uint32_t aaa_encap_ldap_search_info(ldap_search_info* record, void** body) {
  if (record == nullptr || body == nullptr) return 0;
  const std::uint64_t size = sizeof record->head + aaa::items_size(*record);
  std::uint8_t* bytes = aaa::allocate(size);
  if (bytes == nullptr) return 0;
  aaa::ItemWriter writer(bytes);
  writer.put_bytes(&record->head, sizeof record->head);
  writer.put(record->item_306, aaa::item_306);
  writer.put(record->item_307, aaa::item_307);
  writer.put(record->item_301, aaa::item_301);
  for (aaa_item& attribute : aaa::attributes_of(*record))
    writer.put(attribute, aaa::attribute_item);
  *body = bytes;
  return static_cast<std::uint32_t>(size);
}

std::uint32_t aaa_parse_ldap_search_info(ldap_search_info** record, const void* body,
                                         std::int32_t length) {
  return aaa::decode(record, body, length, &ldap_search_info::attributes,
                     &ldap_search_head::attr_count);
}

void aaa_free_ldap_search_info(ldap_search_info* record) {
  if (record == nullptr) return;
  AAA_FREE(record->attributes);
  AAA_FREE(record->pool.base);
  AAA_FREE(record);
}

std::uint32_t aaa_encap_ldap_search_result_info(ldap_search_result* record, void** body) {
  if (record == nullptr || body == nullptr) return 0;
  const std::uint64_t size = aaa::body_size(*record);
  std::uint8_t* bytes = aaa::allocate(size);
  if (bytes == nullptr) return 0;
  aaa::ItemWriter writer(bytes);
  writer.put_bytes(&record->head, sizeof record->head);
  writer.put(record->item_309, aaa::item_309);
  writer.put(record->item_306, aaa::item_306);
  for (ldap_dn_entry& entry : aaa::entries_of(*record))
    aaa::write_entry(writer, entry);
  writer.clear_rest(bytes + size);
  *body = bytes;
  return static_cast<std::uint32_t>(size);
}

std::uint32_t aaa_parse_ldap_search_result(ldap_search_result** record, const void* body,
                                           std::int32_t length) {
  return aaa::decode(record, body, length, &ldap_search_result::entries,
                     &ldap_result_head::entry_count);
}

void aaa_free_ldap_search_result(ldap_search_result* record) {
  if (record == nullptr) return;
  for (const ldap_dn_entry& entry : aaa::entries_of(*record))
    AAA_FREE(entry.pairs);
  AAA_FREE(record->entries);
  AAA_FREE(record->pool.base);
  AAA_FREE(record);
}
