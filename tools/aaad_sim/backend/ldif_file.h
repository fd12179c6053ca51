// Reads a directory from a file in the LDAP Data Interchange Format: entries of "dn:" and
// "name: value" lines, separated by empty lines; base64 values after "::"; continuation lines start
// with a blank and comments with "#".
#pragma once

#include <string>
#include <vector>

#include "wire/ldap.h"

namespace aaa_sim {

// Throws std::runtime_error with one line, "path:line: error".
std::vector<LdapEntry> load_ldif(const std::string& path);

}  // namespace aaa_sim
