// Unsolicited messages of aaad on the event socket, for AaadSim::send(). Group names are truncated
// to 255 bytes.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "wire/ldap.h"
#include "wire/message.h"

namespace aaa_sim {

struct EventMessage {
  std::uint32_t type;
  std::uint32_t id = 0;
  Bytes body = {};
};

// 105: `kind`, then `rest`, padded with zeros to 560 bytes.
EventMessage delete_notice(std::uint32_t kind, View rest = {});
// 106.
EventMessage debug_switch(bool on, std::uint32_t limit);
// 109, 110 and 111.
EventMessage authen_group_request(std::string_view group, authen_info& record);
EventMessage author_group_request(std::string_view group, author_info& record);
EventMessage acct_group_request(std::string_view group, acct_info& record);
// 112: `front`, truncated or padded with zeros to 392 bytes, then `word`. Answered with 14.
EventMessage group_validity_question(std::uint32_t word, View front = {});
// 113. Answered with 15.
EventMessage online_info_question(View body = {});
// 121 and 127.
EventMessage enable_authentication(authen_info& record);
EventMessage local_eap_authentication(authen_info& record);
// 122.
EventMessage method_list_change();
// 123.
EventMessage deletion_request(std::uint32_t w0, std::uint32_t w1, std::uint32_t w2);
// 125.
EventMessage radext_result(const std::array<std::uint32_t, 6>& words);
// 126: `front`, padded with zeros to 720 bytes.
EventMessage coa_request(View front = {});
// 128. Answered with 27.
EventMessage password_update(std::uint32_t code, const std::array<std::string, 3>& texts);
// 132.
EventMessage heartbeat();
// 140. Answered with 33.
EventMessage ldap_question(std::string_view group, const LdapSearch& search);
// 141.
EventMessage ldap_answer(const LdapAnswer& answer);

}  // namespace aaa_sim
