// Requests from aaad to its client: server groups, the two questions that the library answers
// itself, authentication.
#include <cstdint>

#include "aaa_client.h"
#include "runtime/receive/inbound.h"
#include "session/state/locks.h"
#include "transport/debug_log.h"
#include "transport/link_sockets.h"

namespace aaa {
namespace {

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
  alignas(8) std::uint8_t online_info[8] = {};
  const auto callback = message.callback(g_aaa_client_cb.get_online_info_cb);
  if (callback != nullptr) callback(online_info, message.body);
  answer(message, AAA_MSG_RDS_ONLINE_INFO_RESP, online_info, sizeof online_info);
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

}  // namespace aaa
