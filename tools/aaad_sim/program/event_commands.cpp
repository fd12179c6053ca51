#include "program/event_commands.h"

#include <algorithm>
#include <cstring>

#include "backend/directory.h"
#include "wire/event_messages.h"
#include "wire/records.h"

namespace aaa_sim {
namespace {

CommandResult send(AaadSim& sim, const EventMessage& message) {
  return sent_to(sim.send({}, message));
}

// A record with session id and user name.
template <typename Record>
Record record_of(const std::string& session, const std::string& user) {
  Record record{};
  record.session_id = number(session);
  if constexpr (requires { record.chars65_a; }) {
    if (user.size() >= sizeof record.chars65_a) throw BadWord{"'" + user + "' is too long"};
    std::strcpy(record.chars65_a, user.c_str());
  } else {
    record.ext_text = user.c_str();
  }
  return record;
}

CommandResult delete_notice(AaadSim& sim, const Words& words) {
  return send(sim, aaa_sim::delete_notice(number(words[0]), bytes_at(words, 1)));
}

CommandResult debug(AaadSim& sim, const Words& words) {
  return send(sim, debug_switch(on_or_off(words[0]), words.size() > 1 ? number(words[1]) : 0));
}

CommandResult authen_group(AaadSim& sim, const Words& words) {
  auto record = record_of<authen_info>(words[1], words[2]);
  return send(sim, authen_group_request(words[0], record));
}

CommandResult author_group(AaadSim& sim, const Words& words) {
  auto record = record_of<author_info>(words[1], words[2]);
  return send(sim, author_group_request(words[0], record));
}

CommandResult acct_group(AaadSim& sim, const Words& words) {
  auto record = record_of<acct_info>(words[1], words[2]);
  return send(sim, acct_group_request(words[0], record));
}

CommandResult group_valid(AaadSim& sim, const Words& words) {
  return send(sim, group_validity_question(number(words[0]), bytes_at(words, 1)));
}

CommandResult online_info(AaadSim& sim, const Words& words) {
  return send(sim, online_info_question(bytes_at(words, 0)));
}

CommandResult enable_authen(AaadSim& sim, const Words& words) {
  auto record = record_of<authen_info>(words[0], words[1]);
  return send(sim, enable_authentication(record));
}

CommandResult local_eap(AaadSim& sim, const Words& words) {
  auto record = record_of<authen_info>(words[0], words[1]);
  return send(sim, local_eap_authentication(record));
}

CommandResult mlist(AaadSim& sim, const Words&) {
  return send(sim, method_list_change());
}

CommandResult delete_request(AaadSim& sim, const Words& words) {
  return send(sim, deletion_request(number(words[0]), number(words[1]), number(words[2])));
}

CommandResult radext(AaadSim& sim, const Words& words) {
  std::array<std::uint32_t, 6> six{};
  std::ranges::transform(words, six.begin(), number);
  return send(sim, radext_result(six));
}

CommandResult coa(AaadSim& sim, const Words& words) {
  return send(sim, coa_request(bytes_at(words, 0)));
}

CommandResult update_password(AaadSim& sim, const Words& words) {
  return send(sim, password_update(number(words[0]), {words[1], words[2], words[3]}));
}

CommandResult heartbeat(AaadSim& sim, const Words&) {
  return send(sim, aaa_sim::heartbeat());
}

// Parses SESSION BASE FILTER [ATTRIBUTE...] from the word at `first`.
LdapSearch search_of(const Words& words, std::size_t first) {
  const auto at = words.begin() + static_cast<std::ptrdiff_t>(first);
  return {.session_id = number(at[0]),
          .base = optional_text(at[1]),
          .filter = optional_text(at[2]),
          .attributes = {at + 3, words.end()}};
}

CommandResult ldap_search(AaadSim& sim, const Words& words) {
  return send(sim, ldap_question(words[0], search_of(words, 1)));
}

CommandResult ldap_result(AaadSim& sim, const Words& words) {
  return send(sim, ldap_answer(answer_search(sim.settings().directory, search_of(words, 0))));
}

constexpr Command kEventCommands[] = {
    {"debug", 1, 2, "on|off [LIMIT]", "switch the clients' debug log", debug},
    {"mlist", 0, 0, "", "announce a change of method lists", mlist},
    {"heartbeat", 0, 0, "", "send a heartbeat", heartbeat},
    {"delete-notice", 1, 2, "KIND [HEX]", "notify of a deletion", delete_notice},
    {"delete-request", 3, 3, "W0 W1 W2", "request a deletion", delete_request},
    {"coa", 0, 1, "[HEX]", "request a change of authorization", coa},
    {"authen-group", 3, 3, "GROUP SESSION USER", "request authentication by a group", authen_group},
    {"author-group", 3, 3, "GROUP SESSION USER", "request authorization by a group", author_group},
    {"acct-group", 3, 3, "GROUP SESSION USER", "request accounting by a group", acct_group},
    {"group-valid", 1, 2, "WORD [HEX]", "query whether a group is valid", group_valid},
    {"online-info", 0, 1, "[HEX]", "query online information", online_info},
    {"enable-authen", 2, 2, "SESSION USER", "enable an authentication", enable_authen},
    {"local-eap", 2, 2, "SESSION USER", "request a local EAP authentication", local_eap},
    {"radext-result", 1, 6, "W0 [W1 ... W5]", "send a RADIUS-extension result", radext},
    {"update-password", 4, 4, "CODE S1 S2 S3", "request a password update", update_password},
    {"ldap-search", 4, kManyWords, "GROUP SESSION BASE|- FILTER|- [ATTRIBUTE...]",
     "request an LDAP search", ldap_search},
    {"ldap-result", 3, kManyWords, "SESSION BASE|- FILTER|- [ATTRIBUTE...]",
     "send the result of a search", ldap_result},
};

}  // namespace

std::span<const Command> event_commands() {
  return kEventCommands;
}

}  // namespace aaa_sim
