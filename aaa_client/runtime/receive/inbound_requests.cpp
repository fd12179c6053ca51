// Requests from aaad to its client: server groups, LDAP searches, the two questions whose
// answers the library sends, authentication, password updates.
#include <cstdint>
#include <cstring>

#include "aaa_client.h"
#include "codec/tlv.h"
#include "runtime/receive/inbound.h"
#include "session/state/locks.h"
#include "transport/base/memory.h"
#include "transport/debug_log.h"
#include "transport/link_sockets.h"

namespace aaa {
namespace {

// A body that begins with a group name: a length byte, the name, then an encoded record.
struct GroupMessage {
  char group_name[AAA_GROUP_NAME_SIZE] = {};
  const void* record = nullptr;
  std::int32_t record_length = 0;

  // Returns false when the body is missing or shorter than its own name.
  bool split(const Inbound& message) {
    if (!message.reaches(2)) return false;
    const auto* const bytes = static_cast<const std::uint8_t*>(message.body);
    const std::uint32_t name_length = bytes[0];
    if (!message.reaches(name_length + 1)) return false;
    std::memcpy(group_name, bytes + 1, name_length);
    record = bytes + 1 + name_length;
    record_length = static_cast<std::int32_t>(message.header->length - 1 - name_length);
    return true;
  }
};

// The three requests differ only in their record and callback.
template <class Record>
void ask_client(const Inbound& message, void (*const& slot)(Record*, char*),
                std::uint32_t (*parse)(Record**, const void*, std::int32_t),
                void (*release)(Record*)) {
  GroupMessage group;
  if (!group.split(message)) return;
  Record* record = nullptr;
  if (parse(&record, group.record, group.record_length) == 0) return;
  const auto callback = message.callback(slot);
  if (callback != nullptr) callback(record, group.group_name);
  release(record);
}

}  // namespace

void handle_authen_group_req(const Inbound& message) {
  ask_client<authen_info>(message, g_aaa_client_cb.authen_group_req_cb, aaa_parse_authen_info,
                          aaa_free_authen_info);
}

void handle_author_group_req(const Inbound& message) {
  ask_client<author_info>(message, g_aaa_client_cb.author_group_req_cb, aaa_parse_author_info,
                          aaa_free_author_info);
}

void handle_acct_group_req(const Inbound& message) {
  ask_client<acct_info>(message, g_aaa_client_cb.acct_group_req_cb, aaa_parse_acct_info,
                        aaa_free_acct_info);
}

void handle_ldap_search_entry_req(const Inbound& message) {
  constexpr char log_name[] = "aaalib_ipc_msg_proc_ldap_search_entry_req";
  GroupMessage group;
  if (!group.split(message)) return;
  const aaa_ipc_header& header = *message.header;
  AAA_DEBUG_LOG_AS(log_name, "groupName[%s], aaaid[%d], session_id[%d], msg_type[%d]\r\n",
                   group.group_name, static_cast<int>(header.marker), static_cast<int>(header.id),
                   static_cast<int>(header.type));
  const auto callback = message.callback(g_aaa_client_cb.ldap_search_entry_req_cb);
  if (callback == nullptr) return;
  ldap_search_info* search = nullptr;
  if (aaa_parse_ldap_search_info(&search, group.record, group.record_length) != 0) {
    callback(search, group.group_name);
  } else {
    AAA_DEBUG_LOG_AS(log_name, "parse ldap search req info fail\r\n");
  }
  aaa_free_ldap_search_info(search);
}

namespace {

constexpr std::uint32_t min_gs_question = 396;
constexpr std::size_t gs_word_offset = 392;

// A callback may return after its link has ended; aaad no longer waits for that answer.
void answer(const Inbound& message, aaa_msg_type type, const void* body, std::uint32_t length) {
  const ScopedLock lock(aaa_lib_lock);
  if (!link_lasts(message.link)) return;
  send_message_on_link(LinkSocket::event, message.link, type, body, length);
}

std::int32_t ask_verdict(const Inbound& message) {
  const auto callback = message.callback(g_aaa_client_cb.gs_valid_req_cb);
  if (callback == nullptr) return 0;
  return callback(message.body, message.word_at(gs_word_offset), message.header->length) != 0 ? -1
                                                                                              : 0;
}

}  // namespace

void handle_gs_valid_req(const Inbound& message) {
  if (!message.reaches(min_gs_question)) return;
  const std::int32_t verdict = ask_verdict(message);
  answer(message, AAA_MSG_GS_VALID_RESP, &verdict, sizeof verdict);
}

void handle_get_online_info(const Inbound& message) {
  std::uint64_t online_info = 0;  // aligned for a callback that fills it as words
  const auto callback = message.callback(g_aaa_client_cb.get_online_info_cb);
  if (callback != nullptr) callback(&online_info, message.body);
  answer(message, AAA_MSG_RDS_ONLINE_INFO_RESP, &online_info, sizeof online_info);
}

namespace {

authen_info* decode(const Inbound& message) {
  authen_info* authen = nullptr;
  if (message.body == nullptr) return nullptr;
  aaa_parse_authen_info(&authen, message.body, static_cast<std::int32_t>(message.header->length));
  return authen;
}

}  // namespace

void handle_enable_authen(const Inbound& message) {
  authen_info* const authen = decode(message);
  if (authen == nullptr) return;
  const auto callback = message.callback(g_aaa_client_cb.enable_authen_cb);
  if (callback != nullptr) callback(authen);
  aaa_free_authen_info(authen);
}

void handle_localeap_authen(const Inbound& message) {
  authen_info* const authen = decode(message);
  if (authen == nullptr) return;
  AAA_DEBUG_LOG_AS("aaalib_ipc_msg_proc_localeap_authen", "send authen info to localeap\r\n");
  const auto callback = message.callback(g_aaa_client_cb.localeap_authen_cb);
  if (callback != nullptr) callback(authen);
  aaa_free_authen_info(authen);
}

aaa_user_pwd_update_fn g_aaa_user_pwd_update_req_handle = nullptr;

namespace {

constexpr std::int64_t first_string_offset = 8;

// A string of the body, copied and terminated; never longer than the bytes that are there.
struct Text {
  char* text = nullptr;
  std::uint32_t length = 0;

  // Copies the string whose length field is at *offset and advances *offset past it. Returns false
  // when there is no memory.
  bool copy(const Body& body, std::int64_t* offset) {
    std::uint32_t claimed = 0;
    body.copy(&claimed, body.at(*offset), sizeof claimed);
    const std::uint8_t* const from = body.at(*offset + std::int64_t{sizeof claimed});
    *offset += std::int64_t{sizeof claimed} + std::int64_t{claimed};
    length = static_cast<std::uint32_t>(body.available(from, claimed));
    text = static_cast<char*>(AAA_MALLOC(length + 1));
    if (text == nullptr) return false;
    std::memcpy(text, from, length);
    text[length] = '\0';
    return true;
  }

  ~Text() { wipe_and_free(text, length); }
};

void update(const Inbound& message, std::uint32_t code, const Body& body) {
  std::int64_t offset = first_string_offset;
  Text s1;
  Text s2;
  Text s3;
  if (!s1.copy(body, &offset) || !s2.copy(body, &offset) || !s3.copy(body, &offset)) return;
  AAA_DEBUG_LOG_AS("aaalib_ipc_msg_proc_backend_update_user_pwd", "%u %s %s %s\r\n", code, s1.text,
                   s2.text, s3.text);
  const auto handler = message.callback(g_aaa_user_pwd_update_req_handle);
  if (handler != nullptr) handler(code, s1.text, s2.text, s3.text);
}

}  // namespace

void handle_backend_update_user_pwd(const Inbound& message) {
  if (message.body == nullptr) return;
  const Body bytes(message.body, static_cast<std::int32_t>(message.header->length));
  std::uint32_t code = 0;
  bytes.copy(&code, message.body, sizeof code);
  update(message, code, bytes);
}

}  // namespace aaa
