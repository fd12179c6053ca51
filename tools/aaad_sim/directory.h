// Entries of an LDAP directory, and how they are searched.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace aaa_sim {

struct LdapPair {
  std::string name;
  std::string value;

  bool operator==(const LdapPair&) const = default;
};

struct LdapEntry {
  std::string dn;
  std::vector<LdapPair> pairs = {};

  bool operator==(const LdapEntry&) const = default;
};

// Case does not count in names, DNs and values.
struct LdapSearch {
  std::uint32_t session_id = 0;
  std::string base = {};    // entries with this DN and those below it; empty: all
  std::string name = {};    // comes back in the answer
  std::string filter = {};  // "(mail=a@b)", "(mail=a*)", "(mail=*)"; without brackets too; or empty
  std::vector<std::string> attributes = {};  // what is wanted of each entry; empty: all
};

// What is longer would not fit into a message.
inline constexpr std::size_t kMaxLdapValue = 65535;

// Bytes of the entry behind the 8 of its header, in an answer.
std::size_t encoded_size(const LdapEntry& entry);

// False for a filter that is not like one of those above.
bool is_filter(std::string_view filter);

// The entries that match, with the attributes that are wanted. REQUIRES: the filter is one.
std::vector<LdapEntry> search(const std::vector<LdapEntry>& directory, const LdapSearch& search);

}  // namespace aaa_sim
