#include "traffic/messages.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <string_view>

#include "codec/ldap_two_entries.h"
#include "traffic/touch.h"

namespace traffic {
namespace {

using test::record_item;
using test::word_at;
using test::word_bytes;

constexpr std::size_t types = 256;
std::array<std::atomic<std::size_t>, types> received_of;
std::atomic<std::size_t> wrong = 0;

// ---- Bodies ----

// A body of `size` bytes whose first word is `first`.
std::string block(std::uint32_t first, std::size_t size) {
  return word_bytes(first) + std::string(size - 4, '\x5a');
}

// A record behind the name of a group.
std::string of_group(const std::string& record) {
  return "\5group" + record;
}

std::string password_update_body() {
  return word_bytes({7, 0, 5}) + "alice" + word_bytes(3) + "old" + word_bytes(3) + "new";
}

// ---- Callbacks ----

void note(std::uint32_t type, bool is_as_sent) {
  ++received_of.at(type);
  wrong += is_as_sent ? 0 : 1;
}

const std::string& sent(std::uint32_t type) {
  return std::ranges::find(event_messages(), type, &Message::type)->body;
}

bool is_text(const void* value, std::size_t length, std::string_view text) {
  return length == text.size() && std::memcmp(value, text.data(), length) == 0;
}

template <class Record>
bool is_as_sent(Record& record) {
  using C = test::Codec<Record>;
  for (const auto& one : C::descriptors)
    if (!is_text((record.*one.member).value, (record.*one.member).len, "value")) return false;
  for (const auto& one : C::datas)
    if (!is_text(record.*one.data, record.*one.length, "some data")) return false;
  return true;
}
bool is_as_sent(ldap_search_info& search) {
  return search.head.attr_count == 2;
}
bool is_as_sent(ldap_search_result& result) {
  return result.head.entry_count == 2;
}

template <std::uint32_t type, class Record>
void take_record(Record* record) {
  touch(record, sizeof *record);
  touch_items(*record);
  note(type, is_as_sent(*record));
}

template <std::uint32_t type, class Record>
void take_of_group(Record* record, char* group) {
  touch(group, AAA_GROUP_NAME_SIZE);
  require(std::memchr(group, '\0', AAA_GROUP_NAME_SIZE) != nullptr);
  wrong += std::strcmp(group, "group") == 0 ? 0 : 1;
  take_record<type>(record);
}

// The bytes that a handler of this type may read.
template <std::uint32_t type, std::size_t size>
void take_bytes(const void* body) {
  touch(body, size);
  note(type, std::memcmp(body, sent(type).data(), size) == 0);
}

int judge_group(const void* body, std::uint32_t word, std::uint32_t length) {
  touch(body, length);
  const std::string& all = sent(AAA_MSG_GS_VALID_REQ);
  note(AAA_MSG_GS_VALID_REQ, length == all.size() && std::memcmp(body, all.data(), length) == 0 &&
                                 word == word_at(all, 392));
  return static_cast<int>(word & 1);
}

void tell_online_info(void* answer, const void* body) {
  std::memset(answer, 0x5a, 8);
  if (body != nullptr) touch(body, 1);
  note(AAA_MSG_GET_ONLINE_INFO,
       body != nullptr && std::memcmp(body, sent(AAA_MSG_GET_ONLINE_INFO).data(), 8) == 0);
}

void update_password(std::uint32_t code, const char* s1, const char* s2, const char* s3) {
  note(AAA_MSG_BACKEND_UPDATE_USER_PWD, code == 7 && std::strcmp(s1, "alice") == 0 &&
                                            std::strcmp(s2, "old") == 0 &&
                                            std::strcmp(s3, "new") == 0);
}

}  // namespace

std::string ldap_search_body() {
  aaa_item attributes[] = {record_item("uid"), record_item("mail")};
  ldap_search_info record{};
  record.head.attr_count = 2;
  record.item_301 = record_item("base");
  record.item_307 = record_item("filter");
  record.attributes = attributes;
  return test::encoded_body(aaa_encap_ldap_search_info, record);
}

std::string ldap_answer_body() {
  test::TwoEntries two;
  return test::encoded_body(aaa_encap_ldap_search_result_info, two.record);
}

Message register_answer() {
  return {"registration", 100, word_bytes({7})};
}
Message info_ready() {
  return {"info_ready", 102, word_bytes({1, 0, 1, 0, 0, 0, 1, 1, 1, 64})};
}
Message deregister_answer() {
  return {"deregistration", 101, {}};
}

const std::vector<Message>& event_messages() {
  static const std::vector<Message> all = {
      info_ready(),
      {"result", 103, full_body<result_info>()},
      {"del_notice", 105, block(2, 560)},
      {"debug_info", 106, word_bytes({0, 500})},
      {"authen_group", 109, of_group(full_body<authen_info>())},
      {"author_group", 110, of_group(full_body<author_info>())},
      {"acct_group", 111, of_group(full_body<acct_info>())},
      {"gs_valid", 112, block(0, 396)},
      {"online_info", 113, word_bytes({1, 2})},
      {"enable_authen", 121, full_body<authen_info>()},
      {"mlist_change", 122, {}},
      {"del_request", 123, word_bytes({0, 1, 2})},
      {"radext_result", 125, block(1, 24)},
      {"coa_request", 126, block(0, 720)},
      {"localeap", 127, full_body<authen_info>()},
      {"password_update", 128, password_update_body()},
      {"heartbeat", 132, {}},
      {"ldap_search", 140, of_group(ldap_search_body())},
      {"ldap_answer", 141, ldap_answer_body()}};
  return all;
}

std::vector<Message> notices() {
  std::vector<Message> all = event_messages();
  std::erase_if(all, [](const Message& one) {
    return one.type == AAA_MSG_AAA_INFO_READY || one.type == AAA_MSG_NOTIFY_RESULT;
  });
  std::ranges::find(all, AAA_MSG_AAA_DEBUG_INFO, &Message::type)->body = word_bytes({0, 0});
  all.push_back(deregister_answer());
  return all;
}

void receive_notices(reg_info& info) {
  info.notify_del_msg_cb = take_bytes<AAA_MSG_NOTIFY_DEL_MSG, 560>;
  info.authen_group_req_cb = take_of_group<AAA_MSG_AUTHEN_GROUP_REQ, authen_info>;
  info.author_group_req_cb = take_of_group<AAA_MSG_AUTHOR_GROUP_REQ, author_info>;
  info.acct_group_req_cb = take_of_group<AAA_MSG_ACCT_GROUP_REQ, acct_info>;
  info.gs_valid_req_cb = judge_group;
  info.get_online_info_cb = tell_online_info;
  info.enable_authen_cb = take_record<AAA_MSG_ENABLE_AUTHEN, authen_info>;
  info.del_msg_req_cb = [](std::uint32_t w0, std::uint32_t w1, std::uint32_t w2) {
    note(AAA_MSG_DEL_MSG_REQ, w0 == 0 && w1 == 1 && w2 == 2);
  };
  info.add_radext_result_cb = take_bytes<AAA_MSG_ADD_RADEXT_RESULT, 24>;
  info.notify_coa_req_cb = take_bytes<AAA_MSG_NOTIFY_COA_REQ, 720>;
  info.localeap_authen_cb = take_record<AAA_MSG_LOCALEAP_AUTHEN, authen_info>;
  info.ldap_search_entry_req_cb = take_of_group<AAA_MSG_LDAP_SEARCH_ENTRY_REQ, ldap_search_info>;
  info.ldap_search_result_cb = take_record<AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT, ldap_search_result>;
  aaa_add_user_pwd_update_req_handle(update_password);
}

bool has_callback(std::uint32_t type) {
  return type != AAA_MSG_AAA_DEBUG_INFO && type != AAA_MSG_HEARTBEAT &&
         type != AAA_MSG_MLIST_CHANGE && type != AAA_MSG_DEREGISTER_RESP;
}

std::size_t received(std::uint32_t type) {
  return received_of.at(type);
}
std::size_t received_wrong() {
  return wrong;
}
void forget_notices() {
  wrong = 0;
  for (auto& count : received_of)
    count = 0;
}

}  // namespace traffic
