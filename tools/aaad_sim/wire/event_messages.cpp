#include "wire/event_messages.h"

#include <algorithm>

#include "wire/body.h"
#include "wire/records.h"

namespace aaa_sim {
namespace {

constexpr std::size_t kDeleteNoticeSize = 560;
constexpr std::size_t kCoaRequestSize = 720;
constexpr std::size_t kGroupQuestionFront = 392;
constexpr std::size_t kMaxGroupName = 255;

Bytes at_least(std::size_t size, Bytes body) {
  body.resize(std::max(size, body.size()));
  return body;
}

// A byte with the length of the name, the name, the record.
Bytes with_group(std::string_view group, View record) {
  const std::string_view name = group.substr(0, kMaxGroupName);
  return BodyWriter().byte(static_cast<std::uint8_t>(name.size())).text(name).bytes(record).take();
}

}  // namespace

EventMessage delete_notice(std::uint32_t kind, View rest) {
  return {AAA_MSG_NOTIFY_DEL_MSG, 0,
          at_least(kDeleteNoticeSize, BodyWriter().word(kind).bytes(rest).take())};
}

EventMessage debug_switch(bool on, std::uint32_t limit) {
  return {AAA_MSG_AAA_DEBUG_INFO, 0, BodyWriter().word(on ? 1 : 0).word(limit).take()};
}

EventMessage authen_group_request(std::string_view group, authen_info& record) {
  return {AAA_MSG_AUTHEN_GROUP_REQ, record.session_id, with_group(group, encode(record))};
}

EventMessage author_group_request(std::string_view group, author_info& record) {
  return {AAA_MSG_AUTHOR_GROUP_REQ, record.session_id, with_group(group, encode(record))};
}

EventMessage acct_group_request(std::string_view group, acct_info& record) {
  return {AAA_MSG_ACCT_GROUP_REQ, record.session_id, with_group(group, encode(record))};
}

EventMessage group_validity_question(std::uint32_t word, View front) {
  return {AAA_MSG_GS_VALID_REQ, 0,
          BodyWriter().bytes(front).resize(kGroupQuestionFront).word(word).take()};
}

EventMessage online_info_question(View body) {
  return {AAA_MSG_GET_ONLINE_INFO, 0, Bytes(body.begin(), body.end())};
}

EventMessage enable_authentication(authen_info& record) {
  return {AAA_MSG_ENABLE_AUTHEN, record.session_id, encode(record)};
}

EventMessage local_eap_authentication(authen_info& record) {
  return {AAA_MSG_LOCALEAP_AUTHEN, record.session_id, encode(record)};
}

EventMessage method_list_change() {
  return {AAA_MSG_MLIST_CHANGE};
}

EventMessage deletion_request(std::uint32_t w0, std::uint32_t w1, std::uint32_t w2) {
  return {AAA_MSG_DEL_MSG_REQ, 0, BodyWriter().word(w0).word(w1).word(w2).take()};
}

EventMessage radext_result(const std::array<std::uint32_t, 6>& words) {
  return {AAA_MSG_ADD_RADEXT_RESULT, 0, encode_words(words)};
}

EventMessage coa_request(View front) {
  return {AAA_MSG_NOTIFY_COA_REQ, 0, at_least(kCoaRequestSize, Bytes(front.begin(), front.end()))};
}

EventMessage password_update(std::uint32_t code, const std::array<std::string, 3>& texts) {
  BodyWriter body;
  body.word(code).word(0);
  for (const std::string& text : texts)
    body.word(static_cast<std::uint32_t>(text.size())).text(text);
  return {AAA_MSG_BACKEND_UPDATE_USER_PWD, 0, body.take()};
}

EventMessage heartbeat() {
  return {AAA_MSG_HEARTBEAT};
}

EventMessage ldap_question(std::string_view group, const LdapSearch& search) {
  return {AAA_MSG_LDAP_SEARCH_ENTRY_REQ, search.session_id,
          with_group(group, encode_search(search))};
}

EventMessage ldap_answer(const LdapAnswer& answer) {
  return {AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT, answer.session_id, encode_answer(answer)};
}

}  // namespace aaa_sim
