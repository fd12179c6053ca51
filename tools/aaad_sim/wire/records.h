// The library's records, decoded from bodies and encoded into them.
#pragma once

#include <string.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

#include "wire/message.h"

namespace aaa_sim {

template <auto release>
struct Release {
  template <typename Record>
  void operator()(Record* record) const {
    release(record);
  }
};

using AuthenInfo = std::unique_ptr<authen_info, Release<aaa_free_authen_info>>;
using AuthorInfo = std::unique_ptr<author_info, Release<aaa_free_author_info>>;
using AcctInfo = std::unique_ptr<acct_info, Release<aaa_free_acct_info>>;
using ResultInfo = std::unique_ptr<result_info, Release<aaa_free_result_info>>;
using LdapSearchInfo = std::unique_ptr<ldap_search_info, Release<aaa_free_ldap_search_info>>;
using LdapSearchResult = std::unique_ptr<ldap_search_result, Release<aaa_free_ldap_search_result>>;

// sub.num_a of a result, by this project's convention; lost_link is the client library's own.
enum class ResultCode : std::uint32_t {
  accept = 0,
  reject = 1,
  lost_link = 2,
  challenge = 3,
  unavailable = 4,  // nobody could decide
};

// Null when the body cannot be decoded.
AuthenInfo decode_authen(View body);
AuthorInfo decode_author(View body);
AcctInfo decode_acct(View body);
ResultInfo decode_result(View body);
LdapSearchInfo decode_ldap_search(View body);
LdapSearchResult decode_ldap_result(View body);

Bytes encode(authen_info& record);
Bytes encode(author_info& record);
Bytes encode(acct_info& record);
Bytes encode(result_info& record);
Bytes encode(ldap_search_info& record);
Bytes encode(ldap_search_result& record);

std::string_view text_of(const aaa_item& item);
// The item points into `text`.
aaa_item item_of(const std::string& text);

// The array need not contain a NUL.
template <std::size_t size>
std::string_view text_of(const char (&characters)[size]) {
  return {characters, ::strnlen(characters, size)};
}
template <std::size_t size>
std::string_view text_of(const std::uint8_t (&octets)[size]) {
  const auto* const characters = reinterpret_cast<const char*>(octets);
  return {characters, ::strnlen(characters, size)};
}

// Truncates; NUL-terminated.
template <std::size_t size>
void set_text(char (&characters)[size], std::string_view text) {
  const std::size_t used = text.copy(characters, size - 1);
  std::fill(characters + used, characters + size, '\0');
}

}  // namespace aaa_sim
