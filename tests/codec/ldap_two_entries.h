// A search result that the tests share.
#pragma once

#include "codec/records.h"

namespace test {

// Two entries with a pair of a 2-byte name and a 1-byte value each.
struct TwoEntries {
  ldap_pair first_pair = {item("n1"), item("v")};
  ldap_pair second_pair = {item("n2"), item("w")};
  ldap_dn_entry entries[2] = {{0, 0, 1, item("cn=a"), &first_pair},
                              {0, 0, 1, item("cn=bcd"), &second_pair}};
  ldap_search_result record{};

  TwoEntries() {
    record.head.entry_count = 2;
    record.item_309 = item("R");
    record.item_306 = item("string b");
    record.entries = entries;
  }
};

}  // namespace test
