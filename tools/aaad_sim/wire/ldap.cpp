#include "wire/ldap.h"

#include <span>

#include "wire/body.h"
#include "wire/records.h"

namespace aaa_sim {
namespace {

std::string string_of(const aaa_item& item) {
  return std::string(text_of(item));
}

std::vector<ldap_pair> pairs_of(const LdapEntry& entry) {
  std::vector<ldap_pair> pairs;
  for (const LdapPair& pair : entry.pairs)
    pairs.push_back({item_of(pair.name), item_of(pair.value)});
  return pairs;
}

LdapEntry entry_of(const ldap_dn_entry& record) {
  LdapEntry entry{string_of(record.dn)};
  if (record.pairs == nullptr) return entry;
  for (const ldap_pair& pair : std::span(record.pairs, record.pair_count))
    entry.pairs.push_back({string_of(pair.name), string_of(pair.value)});
  return entry;
}

}  // namespace

std::size_t encoded_size(const LdapEntry& entry) {
  std::size_t size = 4 + entry.dn.size();
  for (const LdapPair& pair : entry.pairs)
    size += 8 + pair.name.size() + pair.value.size();
  return size;
}

Bytes encode_search(const LdapSearch& search) {
  std::vector<aaa_item> attributes;
  for (const std::string& attribute : search.attributes)
    attributes.push_back(item_of(attribute));
  ldap_search_info record{};
  record.head.session_id = search.session_id;
  record.head.attr_count = static_cast<std::uint32_t>(attributes.size());
  record.item_301 = item_of(search.base);
  record.item_306 = item_of(search.name);
  record.item_307 = item_of(search.filter);
  record.attributes = attributes.data();
  return encode(record);
}

Bytes encode_answer(const LdapAnswer& answer) {
  std::vector<std::vector<ldap_pair>> pairs;
  std::vector<ldap_dn_entry> entries;
  for (const LdapEntry& entry : answer.entries) {
    pairs.push_back(pairs_of(entry));
    ldap_dn_entry& last = entries.emplace_back();
    last.pair_count = static_cast<std::uint32_t>(pairs.back().size());
    last.dn = item_of(entry.dn);
    last.pairs = pairs.back().data();
  }
  ldap_search_result record{};
  record.head.session_id = answer.session_id;
  record.head.words3_a[0] = answer.code;
  record.head.entry_count = static_cast<std::uint32_t>(entries.size());
  record.item_306 = item_of(answer.name);
  record.item_309 = item_of(answer.error);
  record.entries = entries.data();
  return encode(record);
}

LdapSearch decode_search(View body) {
  const LdapSearchInfo record = decode_ldap_search(body);
  if (!record) throw BadBody("malformed LDAP search");
  LdapSearch search{.session_id = record->head.session_id,
                    .base = string_of(record->item_301),
                    .name = string_of(record->item_306),
                    .filter = string_of(record->item_307)};
  for (const aaa_item& item : std::span(record->attributes, record->head.attr_count))
    search.attributes.push_back(string_of(item));
  return search;
}

LdapAnswer decode_answer(View body) {
  const LdapSearchResult record = decode_ldap_result(body);
  if (!record) throw BadBody("malformed LDAP answer");
  LdapAnswer answer{.session_id = record->head.session_id,
                    .code = record->head.words3_a[0],
                    .name = string_of(record->item_306),
                    .error = string_of(record->item_309)};
  for (const ldap_dn_entry& entry : std::span(record->entries, record->head.entry_count))
    answer.entries.push_back(entry_of(entry));
  return answer;
}

}  // namespace aaa_sim
