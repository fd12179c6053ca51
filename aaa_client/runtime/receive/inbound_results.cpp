// Results of requests, and LDAP searches in both directions.
#include "aaa_client.h"
#include "runtime/receive/inbound.h"
#include "transport/debug_log.h"

namespace aaa {
namespace {

void hand_to_callback(aaa_notify_result_fn callback, const Inbound& message) {
  add(g_aaalib_stat.results_to_callback, 1U);
  result_info* result = nullptr;
  if (aaa_parse_result_info(&result, message.body,
                            static_cast<std::int32_t>(message.header->length)) != 0) {
    callback(result);
  }
  aaa_free_result_info(result);
}

}  // namespace

void handle_notify_result(const Inbound& message) {
  if (message.body == nullptr) return;
  const aaa_notify_result_fn callback = acquire(g_aaa_client_cb.notify_result_cb);
  if (!link_lasts(message.link)) return;
  if (callback != nullptr) {
    hand_to_callback(callback, message);
    return;
  }
  add(g_aaalib_stat.results_to_waiter, 1U);
  aaa_lib_send_msg(message.body, message.header->length);
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

void handle_notify_ldap_search_entry_result(const Inbound& message) {
  constexpr char log_name[] = "aaalib_ipc_msg_proc_notify_ldap_search_entry_result";
  if (message.body == nullptr) return;
  const aaa_ipc_header& header = *message.header;
  AAA_DEBUG_LOG_AS(log_name, "aaaid[%d], session_id[%d], msg_type[%d]\r\n",
                   static_cast<int>(header.marker), static_cast<int>(header.id),
                   static_cast<int>(header.type));
  const auto callback = message.callback(g_aaa_client_cb.ldap_search_result_cb);
  if (callback == nullptr) return;
  ldap_search_result* result = nullptr;
  if (aaa_parse_ldap_search_result(&result, message.body,
                                   static_cast<std::int32_t>(header.length)) != 0) {
    callback(result);
  } else {
    AAA_DEBUG_LOG_AS(log_name, "parse ldap search result info fail\r\n");
  }
  aaa_free_ldap_search_result(result);
}

}  // namespace aaa
