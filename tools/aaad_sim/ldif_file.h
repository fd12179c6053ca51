// A directory read from a file in the LDAP Data Interchange Format: entries of "dn:" and
// "name: value" lines with an empty line between them, values in base64 after "::", long lines
// continued after a blank, and lines of comment after "#".
#pragma once

#include <string>
#include <vector>

#include "directory.h"

namespace aaa_sim {

// Throws std::runtime_error with one line, "path:line: what is wrong".
std::vector<LdapEntry> load_ldif(const std::string& path);

}  // namespace aaa_sim
