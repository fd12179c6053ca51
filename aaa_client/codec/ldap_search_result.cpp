// The answer of an LDAP search: entries with a distinguished name, each with pairs of name and
// value.
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

constexpr std::uint32_t head_size = 24;
constexpr std::uint32_t entry_head_size = 8;  // type, body length, pair count
static_assert(sizeof(ldap_result_head) == head_size);
static_assert(offsetof(ldap_dn_entry, dn) == entry_head_size);

std::span<ldap_dn_entry> entries_of(const ldap_search_result& record) {
  return {record.entries, record.entries != nullptr ? record.head.entry_count : 0};
}

std::span<ldap_pair> pairs_of(const ldap_dn_entry& entry) {
  return {entry.pairs, entry.pairs != nullptr ? entry.pair_count : 0};
}

// ---- Encoding. ------------------------------------------------------------------------------

std::uint64_t entry_body_size(const ldap_dn_entry& entry) {
  std::uint64_t size = item_size(entry.dn);
  for (const ldap_pair& pair : pairs_of(entry)) {
    size += item_size(pair.name) + item_size(pair.value);
  }
  return size;
}

// Also notes the body lengths in the entries.
std::uint64_t body_size(ldap_search_result& record) {
  std::uint64_t size = head_size + item_size(record.item_309) + item_size(record.item_306) +
                       std::uint64_t{entry_head_size} * record.head.entry_count;
  for (ldap_dn_entry& entry : entries_of(record)) {
    const std::uint64_t entry_size = entry_body_size(entry);
    entry.len = static_cast<std::uint16_t>(entry_size);
    size += entry_size;
  }
  return size;
}

void write_entry(ItemWriter& writer, ldap_dn_entry& entry) {
  entry.type = ldap_entry_item;
  writer.put_bytes(&entry, entry_head_size);
  writer.put(entry.dn, ldap_dn_item);
  for (ldap_pair& pair : pairs_of(entry)) {
    writer.put(pair.name, ldap_name_item);
    writer.put(pair.value, ldap_value_item);
  }
}

// ---- Decoding. ------------------------------------------------------------------------------

void take_entry_items(ItemReader reader, ldap_dn_entry& entry) {
  const std::span<ldap_pair> pairs = pairs_of(entry);
  std::size_t filled = 0;
  while (reader.type() != ItemReader::no_item) {
    const bool of_pair = reader.type() == ldap_name_item || reader.type() == ldap_value_item;
    if (reader.type() == ldap_dn_item) {
      take_item(reader, entry.dn);
    } else if (of_pair && pairs.empty()) {
      reader.pass_header();
    } else if (!of_pair || filled == pairs.size()) {
      reader.pass_item();
    } else if (reader.type() == ldap_name_item) {
      take_item(reader, pairs[filled].name);
    } else {
      take_item(reader, pairs[filled++].value);
    }
  }
}

// The entry that begins at `item` and ends before `end`.
void take_entry(const Body& body, const std::uint8_t* item, const std::uint8_t* end,
                ldap_dn_entry& entry) {
  constexpr const char* function_name = "aaa_parse_ldap_search_result_dn_entry";
  body.copy(&entry, item, entry_head_size);
  if (!allocate_array(entry.pairs, entry.pair_count, function_name)) return;
  take_entry_items(ItemReader(body, body.after(item, entry_head_size), end), entry);
}

void take_items(ItemReader reader, ldap_search_result& record) {
  const std::span<ldap_dn_entry> entries = entries_of(record);
  std::size_t filled = 0;
  while (reader.type() != ItemReader::no_item) {
    if (reader.type() == kLdapText309) {
      take_item(reader, record.item_309);
    } else if (reader.type() == kLdapText306) {
      take_item(reader, record.item_306);
    } else if (reader.type() == ldap_entry_item && !entries.empty()) {
      const std::uint8_t* end =
          reader.body().after(reader.item(), entry_head_size + reader.length());
      if (filled < entries.size()) {
        take_entry(reader.body(), reader.item(), end, entries[filled++]);
      }
      reader.move_to(end);
    } else {
      reader.pass_header();
    }
  }
}

std::uint64_t text_size(const ldap_search_result& record) {
  std::uint64_t size = pool_size(record.item_309) + pool_size(record.item_306);
  for (const ldap_dn_entry& entry : entries_of(record)) {
    size += pool_size(entry.dn);
    for (const ldap_pair& pair : pairs_of(entry)) {
      size += pool_size(pair.name) + pool_size(pair.value);
    }
  }
  return size;
}

bool fill_pool(const Body& body, ldap_search_result& record, const char* function) {
  ValueArena pool(body, text_size(record), function);
  if (!pool.allocated()) return false;
  pool.take(record.item_309);
  pool.take(record.item_306);
  for (ldap_dn_entry& entry : entries_of(record)) {
    pool.take(entry.dn);
    for (ldap_pair& pair : pairs_of(entry)) {
      pool.take(pair.name);
      pool.take(pair.value);
    }
  }
  record.pool.used = pool.finish(record.pool);
  return true;
}

bool decode(const Body& body, ldap_search_result& record, const char* function) {
  body.copy(&record.head, body.at(0), head_size);
  if (!allocate_array(record.entries, record.head.entry_count, function)) return false;
  take_items(ItemReader(body, body.at(head_size), body.end()), record);
  return fill_pool(body, record, function);
}

// A record without a pool. The pairs of its entries are left.
void discard(ldap_search_result* record, const char* function) {
  deallocate(record->entries, function);
  deallocate(record, function);
}

}  // namespace
}  // namespace aaa

std::uint32_t aaa_encap_ldap_search_result_info(ldap_search_result* record, void** body) {
  if (record == nullptr || body == nullptr) return 0;
  const std::uint64_t size = aaa::body_size(*record);
  std::uint8_t* bytes = aaa::allocate(size, __func__);
  if (bytes == nullptr) return 0;
  aaa::ItemWriter writer(bytes);
  writer.put_bytes(&record->head, aaa::head_size);
  writer.put(record->item_309, aaa::kLdapText309);
  writer.put(record->item_306, aaa::kLdapText306);
  for (ldap_dn_entry& entry : aaa::entries_of(*record))
    aaa::write_entry(writer, entry);
  writer.clear_rest(bytes + size);
  *body = bytes;
  return static_cast<std::uint32_t>(size);
}

std::uint32_t aaa_parse_ldap_search_result(ldap_search_result** record, const void* body,
                                           std::int32_t length) {
  return aaa::parse_ldap(record, body, length, aaa::decode, aaa::discard, __func__);
}

void aaa_free_ldap_search_result(ldap_search_result* record) {
  if (record == nullptr) return;
  for (const ldap_dn_entry& entry : aaa::entries_of(*record)) {
    aaa::deallocate(entry.pairs, __func__);
  }
  aaa::deallocate(record->entries, __func__);
  aaa::deallocate(record->pool.base, __func__);
  aaa::deallocate(record, __func__);
}
