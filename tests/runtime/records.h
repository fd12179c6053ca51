// Records as they travel in bodies, told apart by their session ids.
#pragma once

#include "aaa_client.h"
#include "bytes.h"

namespace test {

template <class Record>
Bytes encoded(Record& record, std::uint32_t (*encode)(Record*, void**)) {
  void* body = nullptr;
  const std::uint32_t length = encode(&record, &body);
  const Bytes bytes = bytes_of(body, length);
  aaa_free(__LINE__, __func__, body);
  return bytes;
}

inline Bytes authen_body(std::uint32_t session_id) {
  authen_info record = {};
  record.session_id = session_id;
  return encoded(record, aaa_encap_authen_info);
}
inline Bytes author_body(std::uint32_t session_id) {
  author_info record = {};
  record.session_id = session_id;
  return encoded(record, aaa_encap_author_info);
}
inline Bytes acct_body(std::uint32_t session_id) {
  acct_info record = {};
  record.session_id = session_id;
  return encoded(record, aaa_encap_acct_info);
}
inline Bytes result_body(std::uint32_t session_id) {
  result_info record = {};
  record.sub.session_id = session_id;
  return encoded(record, aaa_encap_result_info);
}
inline Bytes ldap_search_body(std::uint32_t session_id) {
  ldap_search_info record = {};
  record.head.session_id = session_id;
  return encoded(record, aaa_encap_ldap_search_info);
}
inline Bytes ldap_result_body(std::uint32_t session_id) {
  ldap_search_result record = {};
  record.head.session_id = session_id;
  return encoded(record, aaa_encap_ldap_search_result_info);
}

}  // namespace test
