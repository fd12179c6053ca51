// Searches in the LDAP directory.
#pragma once

#include <string_view>
#include <vector>

#include "wire/ldap.h"

namespace aaa_sim {

// False for a filter that has none of the forms that LdapSearch lists.
bool is_filter(std::string_view filter);

// The matching entries with the requested attributes. REQUIRES: is_filter(search.filter).
std::vector<LdapEntry> search(const std::vector<LdapEntry>& directory, const LdapSearch& search);

// The same as an answer, which is an error for a filter of another form.
LdapAnswer answer_search(const std::vector<LdapEntry>& directory, const LdapSearch& wanted);

}  // namespace aaa_sim
