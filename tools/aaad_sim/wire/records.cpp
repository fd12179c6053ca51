#include "wire/records.h"

#include <cstddef>
#include <cstring>

namespace aaa_sim {
namespace {

template <typename Record, auto release>
std::unique_ptr<Record, Release<release>> decode(std::uint32_t (*parse)(Record**, const void*,
                                                                        std::int32_t),
                                                 View body) {
  Record* record = nullptr;
  parse(&record, body.data(), static_cast<std::int32_t>(body.size()));
  return std::unique_ptr<Record, Release<release>>(record);
}

template <typename Record>
Bytes encode_by(std::uint32_t (*encap)(Record*, void**), Record& record) {
  void* body = nullptr;
  const std::uint32_t length = encap(&record, &body);
  const auto* first = static_cast<const std::uint8_t*>(body);
  Bytes bytes(first, first + length);
  aaa_free(__LINE__, __func__, body);
  return bytes;
}

// An item has at least 4 bytes: a larger count than fits into the body is rejected before the
// decoder allocates memory for it.
bool fits(std::size_t count_at, View body) {
  if (body.size() < count_at + sizeof(std::uint32_t)) return false;
  std::uint32_t count;
  std::memcpy(&count, body.data() + count_at, sizeof count);
  return count <= body.size() / 4;
}

}  // namespace

AuthenInfo decode_authen(View body) {
  return decode<authen_info, aaa_free_authen_info>(aaa_parse_authen_info, body);
}

AuthorInfo decode_author(View body) {
  return decode<author_info, aaa_free_author_info>(aaa_parse_author_info, body);
}

AcctInfo decode_acct(View body) {
  return decode<acct_info, aaa_free_acct_info>(aaa_parse_acct_info, body);
}

ResultInfo decode_result(View body) {
  return decode<result_info, aaa_free_result_info>(aaa_parse_result_info, body);
}

LdapSearchInfo decode_ldap_search(View body) {
  if (!fits(offsetof(ldap_search_head, attr_count), body)) return nullptr;
  return decode<ldap_search_info, aaa_free_ldap_search_info>(aaa_parse_ldap_search_info, body);
}

LdapSearchResult decode_ldap_result(View body) {
  if (!fits(offsetof(ldap_result_head, entry_count), body)) return nullptr;
  return decode<ldap_search_result, aaa_free_ldap_search_result>(aaa_parse_ldap_search_result,
                                                                 body);
}

Bytes encode(authen_info& record) {
  return encode_by(aaa_encap_authen_info, record);
}

Bytes encode(author_info& record) {
  return encode_by(aaa_encap_author_info, record);
}

Bytes encode(acct_info& record) {
  return encode_by(aaa_encap_acct_info, record);
}

Bytes encode(result_info& record) {
  return encode_by(aaa_encap_result_info, record);
}

Bytes encode(ldap_search_info& record) {
  return encode_by(aaa_encap_ldap_search_info, record);
}

Bytes encode(ldap_search_result& record) {
  return encode_by(aaa_encap_ldap_search_result_info, record);
}

std::string_view text_of(const aaa_item& item) {
  return {static_cast<const char*>(item.value), item.len};
}

aaa_item item_of(const std::string& text) {
  return {.type = 0, .len = static_cast<std::uint16_t>(text.size()), .value = text.data()};
}

}  // namespace aaa_sim
