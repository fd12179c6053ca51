#include "soak/notices.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <mutex>

namespace soak {
namespace {

using aaa_sim::Bytes;

constexpr std::uint32_t session = 0x01020304;
constexpr std::uint8_t filling = 0x5a;
constexpr char group[] = "group-1";

std::array<std::atomic<std::size_t>, 256> heard;
std::mutex complaints_lock;
std::vector<std::string> complaints;

void hear(std::uint32_t type, bool is_right) {
  ++heard.at(type);
  if (is_right) return;
  const std::lock_guard hold(complaints_lock);
  complaints.push_back("a message of type " + std::to_string(type) + " came out wrong");
}

// ---- Bodies ----

Bytes filled(std::size_t size, std::uint32_t first_word) {
  Bytes bytes(size, filling);
  std::memcpy(bytes.data(), &first_word, sizeof first_word);
  return bytes;
}

Bytes words(const std::vector<std::uint32_t>& values) {
  return aaa_sim::encode_words(values);
}

template <class Record>
Bytes encoded(std::uint32_t (*encode)(Record*, void**), Record record) {
  void* body = nullptr;
  const std::uint32_t length = encode(&record, &body);
  const auto* const first = static_cast<const std::uint8_t*>(body);
  Bytes bytes(first, first + length);
  aaa_free(__LINE__, __func__, body);
  return bytes;
}

Bytes authen_body() {
  authen_info authen = {};
  authen.session_id = session;
  authen.state = {0, 5, "state"};
  return encoded(aaa_encap_authen_info, authen);
}

Bytes author_body() {
  author_info author = {};
  author.session_id = session;
  return encoded(aaa_encap_author_info, author);
}

Bytes acct_body() {
  acct_info acct = {};
  acct.session_id = session;
  return encoded(aaa_encap_acct_info, acct);
}

Bytes ldap_question_body() {
  ldap_search_info search = {};
  search.head.session_id = session;
  return encoded(aaa_encap_ldap_search_info, search);
}

Bytes ldap_result_body() {
  return words({session, 0, 0, 0, 0, 0});
}

Bytes for_group(const Bytes& record) {
  constexpr std::size_t length = sizeof group - 1;
  Bytes body(1 + length + record.size(), length);
  std::memcpy(body.data() + 1, group, length);
  std::ranges::copy(record, body.begin() + 1 + length);
  return body;
}

Bytes group_question_body() {
  Bytes body(400, filling);
  std::memcpy(body.data() + 392, &session, sizeof session);
  return body;
}

Bytes password_body() {
  Bytes body = words({session, 0});
  for (const std::string text : {"alice", "", "new secret"}) {
    const Bytes length = words({static_cast<std::uint32_t>(text.size())});
    body.insert(body.end(), length.begin(), length.end());
    body.insert(body.end(), text.begin(), text.end());
  }
  return body;
}

// ---- Callbacks ----

bool is_filled(const void* body, std::size_t size, std::uint32_t first_word) {
  return std::memcmp(body, filled(size, first_word).data(), size) == 0;
}

bool is_group(const char* name) {
  return std::strcmp(name, group) == 0;
}

bool is_expected(const authen_info& authen) {
  return authen.session_id == session && authen.state.len == 5 &&
         std::memcmp(authen.state.value, "state", 5) == 0;
}

template <std::uint32_t type>
void hear_authen(authen_info* authen) {
  hear(type, is_expected(*authen));
}

void hear_password(std::uint32_t code, const char* s1, const char* s2, const char* s3) {
  hear(AAA_MSG_BACKEND_UPDATE_USER_PWD, code == session && std::strcmp(s1, "alice") == 0 &&
                                            *s2 == '\0' && std::strcmp(s3, "new secret") == 0);
}

void hear_group_requests(reg_info& info) {
  info.authen_group_req_cb = [](authen_info* authen, char* name) {
    hear(AAA_MSG_AUTHEN_GROUP_REQ, is_expected(*authen) && is_group(name));
  };
  info.author_group_req_cb = [](author_info* author, char* name) {
    hear(AAA_MSG_AUTHOR_GROUP_REQ, author->session_id == session && is_group(name));
  };
  info.acct_group_req_cb = [](acct_info* acct, char* name) {
    hear(AAA_MSG_ACCT_GROUP_REQ, acct->session_id == session && is_group(name));
  };
}

void hear_raw_notices(reg_info& info) {
  info.notify_del_msg_cb = [](const void* body) {
    hear(AAA_MSG_NOTIFY_DEL_MSG, is_filled(body, 600, 2));
  };
  info.notify_coa_req_cb = [](const void* body) {
    hear(AAA_MSG_NOTIFY_COA_REQ, is_filled(body, 800, session));
  };
  info.add_radext_result_cb = [](const void* body) {
    hear(AAA_MSG_ADD_RADEXT_RESULT, is_filled(body, 24, session));
  };
  info.del_msg_req_cb = [](std::uint32_t w0, std::uint32_t w1, std::uint32_t w2) {
    hear(AAA_MSG_DEL_MSG_REQ, w0 == 11 && w1 == 22 && w2 == 33);
  };
}

void hear_questions(reg_info& info) {
  info.gs_valid_req_cb = [](const void*, std::uint32_t word, std::uint32_t length) {
    hear(AAA_MSG_GS_VALID_REQ, word == session && length == 400);
    return 1;
  };
  info.get_online_info_cb = [](void* answer, const void* body) {
    hear(AAA_MSG_GET_ONLINE_INFO, is_filled(body, 8, session));
    std::memset(answer, 7, 8);
  };
}

void hear_ldap(reg_info& info) {
  info.ldap_search_entry_req_cb = [](ldap_search_info* search, char* name) {
    hear(AAA_MSG_LDAP_SEARCH_ENTRY_REQ, search->head.session_id == session && is_group(name));
  };
  info.ldap_search_result_cb = [](ldap_search_result* result) {
    hear(AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT, result->head.session_id == session);
  };
}

}  // namespace

std::vector<Notice> all_notices() {
  return {
      {AAA_MSG_NOTIFY_DEL_MSG, filled(600, 2)},
      {AAA_MSG_AAA_DEBUG_INFO, words({0, 0})},
      {AAA_MSG_AUTHEN_GROUP_REQ, for_group(authen_body())},
      {AAA_MSG_AUTHOR_GROUP_REQ, for_group(author_body())},
      {AAA_MSG_ACCT_GROUP_REQ, for_group(acct_body())},
      {AAA_MSG_GS_VALID_REQ, group_question_body()},
      {AAA_MSG_GET_ONLINE_INFO, filled(8, session)},
      {AAA_MSG_ENABLE_AUTHEN, authen_body()},
      {AAA_MSG_MLIST_CHANGE, {}},
      {AAA_MSG_DEL_MSG_REQ, words({11, 22, 33})},
      {AAA_MSG_ADD_RADEXT_RESULT, filled(24, session)},
      {AAA_MSG_NOTIFY_COA_REQ, filled(800, session)},
      {AAA_MSG_LOCALEAP_AUTHEN, authen_body()},
      {AAA_MSG_BACKEND_UPDATE_USER_PWD, password_body()},
      {AAA_MSG_HEARTBEAT, {}},
      {AAA_MSG_LDAP_SEARCH_ENTRY_REQ, for_group(ldap_question_body())},
      {AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT, ldap_result_body()},
      {AAA_MSG_DEREGISTER_RESP, {}},  // nobody handles it here
  };
}

void hear_notices(reg_info& info) {
  hear_group_requests(info);
  hear_raw_notices(info);
  hear_questions(info);
  hear_ldap(info);
  info.enable_authen_cb = hear_authen<AAA_MSG_ENABLE_AUTHEN>;
  info.localeap_authen_cb = hear_authen<AAA_MSG_LOCALEAP_AUTHEN>;
  aaa_add_user_pwd_update_req_handle(hear_password);
}

std::size_t notices_heard(std::uint32_t type) {
  return heard.at(type);
}

std::vector<std::string> notice_complaints() {
  const std::lock_guard hold(complaints_lock);
  return complaints;
}

void forget_notices() {
  for (auto& count : heard)
    count = 0;
  const std::lock_guard hold(complaints_lock);
  complaints.clear();
}

}  // namespace soak
