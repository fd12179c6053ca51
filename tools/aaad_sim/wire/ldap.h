// LDAP entries, searches and answers, and their message bodies.
//
// aaad-sim's use of the items: in a search, item 301 is the base, 306 the name and 307 the filter;
// in an answer, 306 is the name of the search, 309 the error text, and the second word of the head
// is 0, or 1 after an error.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "wire/message.h"

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

// Names, DNs and values are compared without case.
struct LdapSearch {
  std::uint32_t session_id = 0;
  std::string base = {};  // the entry with this DN and those below it; empty: all
  std::string name = {};  // copied into the answer
  // "(mail=a@b)", "(mail=a*)", "(mail=*)", with or without parentheses; empty: all
  std::string filter = {};
  std::vector<std::string> attributes = {};  // attributes to return; empty: all
};

struct LdapAnswer {
  std::uint32_t session_id = 0;
  std::uint32_t code = 0;
  std::string name = {};
  std::string error = {};
  std::vector<LdapEntry> entries = {};

  bool operator==(const LdapAnswer&) const = default;
};

// An item's length has 16 bits.
inline constexpr std::size_t kMaxLdapValue = 65535;

// Size of the entry in an answer, without its header of 8 bytes.
std::size_t encoded_size(const LdapEntry& entry);

Bytes encode_search(const LdapSearch& search);
Bytes encode_answer(const LdapAnswer& answer);

// Throw BadBody.
LdapSearch decode_search(View body);
LdapAnswer decode_answer(View body);

}  // namespace aaa_sim
