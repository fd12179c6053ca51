// LDAP searches and their answers as message bodies.
//
// What the simulator makes of the plain items: of a search, item 301 is the base, 306 the name and
// 307 the filter; of an answer, 306 is the name of the search, 309 what went wrong, and the second
// word of the head 0, or 1 when something did.
#pragma once

#include "directory.h"
#include "message.h"

namespace aaa_sim {

struct LdapAnswer {
  std::uint32_t session_id = 0;
  std::uint32_t code = 0;
  std::string name = {};
  std::string error = {};
  std::vector<LdapEntry> entries = {};

  bool operator==(const LdapAnswer&) const = default;
};

Bytes encode_search(const LdapSearch& search);
Bytes encode_answer(const LdapAnswer& answer);

// Each throws BadBody when the body is unreadable.
LdapSearch decode_search(View body);
LdapAnswer decode_answer(View body);

// What the directory answers; an error for a filter that is none.
LdapAnswer answer_search(const std::vector<LdapEntry>& directory, const LdapSearch& wanted);

}  // namespace aaa_sim
