// Bodies of records in which every field that can be filled is.
#pragma once

#include <string>

#include "codec/ldap_two_entries.h"
#include "codec/records.h"

namespace test {

// Every item once, with a short value.
template <typename Record>
Bytes full_body() {
  using C = Codec<Record>;
  Record record{};
  for (const auto& descriptor : C::descriptors)
    record.*descriptor.member = item("value");
  for (const auto& data : C::datas) {
    record.*data.data = "some data";
    record.*data.length = 9;
  }
  if constexpr (has_ext_text<Record>) C::ext_text(record) = "text";
  if constexpr (has_ext_data<Record>) {
    C::ext_data(record) = "ext data";
    C::ext_data_len(record) = 8;
  }
  return encoded(C::encode, record);
}

inline Bytes ldap_question_body() {
  aaa_item attributes[] = {item("uid"), item("mail")};
  ldap_search_info record{};
  record.head.attr_count = 2;
  record.item_301 = item("base");
  record.item_307 = item("filter");
  record.attributes = attributes;
  return encoded(aaa_encap_ldap_search_info, record);
}

inline Bytes ldap_answer_body() {
  TwoEntries two;
  return encoded(aaa_encap_ldap_search_result_info, two.record);
}

// A record behind the name of a group.
inline Bytes named(const std::string& group, const Bytes& record) {
  Bytes body = {static_cast<std::uint8_t>(group.size())};
  body.insert(body.end(), group.begin(), group.end());
  body.insert(body.end(), record.begin(), record.end());
  return body;
}

}  // namespace test
