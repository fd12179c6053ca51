// LDAP: a search that aaad asks the client to make, and the answer to the client's own.
#include "aaa_client.h"
#include "runtime/group_name.h"
#include "session/client_state.h"
#include "transport/debug_log.h"

void aaalib_ipc_msg_proc_ldap_search_entry_req(const aaa_ipc_header* header, const void* body) {
  aaa::GroupMessage message;
  if (!message.split(header, body)) return;
  AAA_DEBUG_LOG("groupName[%s], aaaid[%d], session_id[%d], msg_type[%d]\r\n", message.group_name,
                static_cast<int>(header->marker), static_cast<int>(header->id),
                static_cast<int>(header->type));
  const auto callback = aaa::load(g_aaa_client_cb.ldap_search_entry_req_cb);
  if (callback == nullptr) return;
  ldap_search_info* search = nullptr;
  if (aaa_parse_ldap_search_info(&search, message.record, message.record_length) != 0) {
    callback(search, message.group_name);
  } else {
    AAA_DEBUG_LOG("parse ldap search req info fail\r\n");
  }
  aaa_free_ldap_search_info(search);
}

void aaalib_ipc_msg_proc_notify_ldap_search_entry_result(const aaa_ipc_header* header,
                                                         const void* body) {
  if (body == nullptr) return;
  AAA_DEBUG_LOG("aaaid[%d], session_id[%d], msg_type[%d]\r\n", static_cast<int>(header->marker),
                static_cast<int>(header->id), static_cast<int>(header->type));
  const auto callback = aaa::load(g_aaa_client_cb.ldap_search_result_cb);
  if (callback == nullptr) return;
  ldap_search_result* result = nullptr;
  if (aaa_parse_ldap_search_result(&result, body, static_cast<std::int32_t>(header->length)) != 0) {
    callback(result);
  } else {
    AAA_DEBUG_LOG("parse ldap search result info fail\r\n");
  }
  aaa_free_ldap_search_result(result);
}
