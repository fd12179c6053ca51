// Every message that aaad sends on the event socket, and who handles it.
#include <cstddef>

#include "aaa_client.h"
#include "transport/debug_log.h"

namespace {

using Handler = void (*)(const aaa_ipc_header* header, const void* body);

struct Route {
  aaa_msg_type type;
  Handler handler;
};

constexpr Route routes[] = {
    {AAA_MSG_AAA_INFO_READY, aaalib_ipc_msg_proc_aaa_info_notify},
    {AAA_MSG_NOTIFY_RESULT, aaalib_ipc_msg_proc_notify_result},
    {AAA_MSG_NOTIFY_DEL_MSG, aaalib_ipc_msg_proc_notify_del_msg},
    {AAA_MSG_AAA_DEBUG_INFO, aaalib_ipc_msg_proc_aaa_debug_info},
    {AAA_MSG_AUTHEN_GROUP_REQ, aaalib_ipc_msg_proc_authen_group_req},
    {AAA_MSG_AUTHOR_GROUP_REQ, aaalib_ipc_msg_proc_author_group_req},
    {AAA_MSG_ACCT_GROUP_REQ, aaalib_ipc_msg_proc_acct_group_req},
    {AAA_MSG_GS_VALID_REQ, aaalib_ipc_msg_proc_gs_valid_req},
    {AAA_MSG_GET_ONLINE_INFO, aaalib_ipc_msg_proc_get_online_info},
    {AAA_MSG_ENABLE_AUTHEN, aaalib_ipc_msg_proc_enable_authen},
    {AAA_MSG_MLIST_CHANGE, aaalib_ipc_msg_proc_mlist_change},
    {AAA_MSG_DEL_MSG_REQ, aaalib_ipc_msg_proc_del_msg_req},
    {AAA_MSG_ADD_RADEXT_RESULT, aaalib_ipc_msg_proc_add_radext_result},
    {AAA_MSG_NOTIFY_COA_REQ, aaalib_ipc_msg_proc_notify_coa_req},
    {AAA_MSG_LOCALEAP_AUTHEN, aaalib_ipc_msg_proc_localeap_authen},
    {AAA_MSG_BACKEND_UPDATE_USER_PWD, aaalib_ipc_msg_proc_backend_update_user_pwd},
    {AAA_MSG_HEARTBEAT, aaalib_ipc_msg_proc_heartbeat},
    {AAA_MSG_LDAP_SEARCH_ENTRY_REQ, aaalib_ipc_msg_proc_ldap_search_entry_req},
    {AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT, aaalib_ipc_msg_proc_notify_ldap_search_entry_result},
};

// The same by message type; null where nobody handles the type.
struct RouteTable {
  static constexpr std::size_t size = AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT + 1;
  Handler handlers[size] = {};

  constexpr RouteTable() {
    for (const Route& route : routes)
      handlers[route.type] = route.handler;
  }

  Handler find(std::uint32_t type) const { return type < size ? handlers[type] : nullptr; }
};

constexpr RouteTable route_table;

}  // namespace

void aaa_lib_async_msg_proc(const aaa_ipc_header* header, const void* body) {
  AAA_DEBUG_LOG("%s: aaa lib receive message from aaad type (%s), len(%d)\r\n",
                g_aaalib_process_name, aaa_ipc_get_msg_type_str(header->type),
                static_cast<int>(header->length));
  const Handler handler = route_table.find(header->type);
  if (handler == nullptr) {
    AAA_DEBUG_LOG("async socket receive unknown message %d.\r\n", static_cast<int>(header->type));
    return;
  }
  handler(header, body);
}
