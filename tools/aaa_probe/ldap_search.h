// A search in the LDAP directory behind aaad.
#pragma once

#include <string>
#include <vector>

#include "commands.h"

namespace aaa_probe {

struct LdapSearch {
  std::string base = {};
  std::string filter = {};
  std::vector<std::string> attributes = {};  // empty: all
};

Status search_ldap(const LdapSearch& search, const Context& context);

// The entries of an answer.
std::vector<Record> records_of(const ldap_search_result& result);

}  // namespace aaa_probe
