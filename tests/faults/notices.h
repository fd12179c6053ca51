// What aaad says to a client by itself in its life.
#pragma once

#include <algorithm>

#include "codec/ldap_two_entries.h"
#include "support/encoded_body.h"
#include "traffic/messages.h"

namespace faults {

inline std::string answer_without_pairs() {
  test::TwoEntries two;
  for (ldap_dn_entry& entry : two.entries)
    entry.pair_count = 0;
  return test::encoded_body(aaa_encap_ldap_search_result_info, two.record);
}

// All notices. The entries of the LDAP answer have no pairs: where one cannot be decoded, its pairs
// stay allocated, which is intended.
inline const std::vector<traffic::Message>& notices() {
  static const std::vector<traffic::Message> all = [] {
    std::vector<traffic::Message> list = traffic::notices();
    std::ranges::find(list, AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT, &traffic::Message::type)->body =
        answer_without_pairs();
    return list;
  }();
  return all;
}

}  // namespace faults
