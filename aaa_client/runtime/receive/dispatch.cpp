// The messages that aaad sends on the event socket, and their handlers.
#include "runtime/receive/inbound.h"
#include "transport/debug_log.h"

namespace aaa {
namespace {

using Handler = void (*)(const Inbound& message);

struct Route {
  std::uint32_t type;
  Handler handler;
};

constexpr Route routes[] = {
    {AAA_MSG_AAA_INFO_READY, handle_aaa_info_notify},
    {AAA_MSG_NOTIFY_RESULT, handle_notify_result},
    {AAA_MSG_NOTIFY_DEL_MSG, handle_notify_del_msg},
    {AAA_MSG_AAA_DEBUG_INFO, handle_aaa_debug_info},
    {AAA_MSG_AUTHEN_GROUP_REQ, handle_authen_group_req},
    {AAA_MSG_AUTHOR_GROUP_REQ, handle_author_group_req},
    {AAA_MSG_ACCT_GROUP_REQ, handle_acct_group_req},
    {AAA_MSG_GS_VALID_REQ, handle_gs_valid_req},
    {AAA_MSG_GET_ONLINE_INFO, handle_get_online_info},
    {AAA_MSG_ENABLE_AUTHEN, handle_enable_authen},
    {AAA_MSG_MLIST_CHANGE, handle_mlist_change},
    {AAA_MSG_DEL_MSG_REQ, handle_del_msg_req},
    {AAA_MSG_ADD_RADEXT_RESULT, handle_add_radext_result},
    {AAA_MSG_NOTIFY_COA_REQ, handle_notify_coa_req},
    {AAA_MSG_LOCALEAP_AUTHEN, handle_localeap_authen},
    {AAA_MSG_BACKEND_UPDATE_USER_PWD, handle_backend_update_user_pwd},
    {AAA_MSG_HEARTBEAT, handle_heartbeat},
    {AAA_MSG_LDAP_SEARCH_ENTRY_REQ, handle_ldap_search_entry_req},
    {AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT, handle_notify_ldap_search_entry_result},
};

Handler find_handler(std::uint32_t type) {
  for (const Route& route : routes)
    if (route.type == type) return route.handler;
  return nullptr;
}

constexpr char log_name[] = "aaa_lib_async_msg_proc";

}  // namespace

void dispatch(const Inbound& message) {
  if (!link_lasts(message.link)) return;
  const aaa_ipc_header& header = *message.header;
  AAA_DEBUG_LOG_AS(log_name, "%s: aaa lib receive message from aaad type (%s), len(%d)\r\n",
                   g_aaalib_process_name, aaa_ipc_get_msg_type_str(header.type),
                   static_cast<int>(header.length));
  const Handler handler = find_handler(header.type);
  if (handler == nullptr) {
    AAA_DEBUG_LOG_AS(log_name, "async socket receive unknown message %d.\r\n",
                     static_cast<int>(header.type));
    return;
  }
  handler(message);
}

}  // namespace aaa

// A message that a client passes in counts as read on the link that is current at that moment.

void aaa_lib_async_msg_proc(const aaa_ipc_header* header, const void* body) {
  aaa::dispatch({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_aaa_info_notify(const aaa_ipc_header* header, const void* body) {
  aaa::handle_aaa_info_notify({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_notify_result(const aaa_ipc_header* header, const void* body) {
  aaa::handle_notify_result({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_notify_del_msg(const aaa_ipc_header* header, const void* body) {
  aaa::handle_notify_del_msg({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_aaa_debug_info(const aaa_ipc_header* header, const void* body) {
  aaa::handle_aaa_debug_info({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_authen_group_req(const aaa_ipc_header* header, const void* body) {
  aaa::handle_authen_group_req({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_author_group_req(const aaa_ipc_header* header, const void* body) {
  aaa::handle_author_group_req({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_acct_group_req(const aaa_ipc_header* header, const void* body) {
  aaa::handle_acct_group_req({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_gs_valid_req(const aaa_ipc_header* header, const void* body) {
  aaa::handle_gs_valid_req({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_get_online_info(const aaa_ipc_header* header, const void* body) {
  aaa::handle_get_online_info({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_enable_authen(const aaa_ipc_header* header, const void* body) {
  aaa::handle_enable_authen({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_mlist_change(const aaa_ipc_header* header, const void* body) {
  aaa::handle_mlist_change({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_del_msg_req(const aaa_ipc_header* header, const void* body) {
  aaa::handle_del_msg_req({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_add_radext_result(const aaa_ipc_header* header, const void* body) {
  aaa::handle_add_radext_result({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_notify_coa_req(const aaa_ipc_header* header, const void* body) {
  aaa::handle_notify_coa_req({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_localeap_authen(const aaa_ipc_header* header, const void* body) {
  aaa::handle_localeap_authen({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_backend_update_user_pwd(const aaa_ipc_header* header, const void* body) {
  aaa::handle_backend_update_user_pwd({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_heartbeat(const aaa_ipc_header* header, const void* body) {
  aaa::handle_heartbeat({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_ldap_search_entry_req(const aaa_ipc_header* header, const void* body) {
  aaa::handle_ldap_search_entry_req({header, body, aaa::link_number()});
}

void aaalib_ipc_msg_proc_notify_ldap_search_entry_result(const aaa_ipc_header* header,
                                                         const void* body) {
  aaa::handle_notify_ldap_search_entry_result({header, body, aaa::link_number()});
}

std::int32_t aaa_lib_notify_aaa_event(std::uint32_t event) {
  const aaa_event_fn callback = aaa::load(g_aaa_client_cb.aaa_event_cb);
  return callback != nullptr ? callback(event) : static_cast<std::int32_t>(event);
}
