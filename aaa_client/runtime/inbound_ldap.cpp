// LDAP: a search that aaad asks the client to make, and the answer to the client's own.
#include "aaa_client.h"
#include "runtime/group_name.h"
#include "runtime/inbound.h"
#include "transport/debug_log.h"

namespace aaa {

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
