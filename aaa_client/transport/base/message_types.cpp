// The catalogue of message types: the numbers are a contract with aaad, the names appear in log
// lines and diagnostics.
#include <cstddef>
#include <cstdint>

#include "aaa_client.h"

namespace {

constexpr char unknown_msg[] = "Unknown msg";

constexpr std::size_t type_slots = 256;
constexpr std::uint32_t last_type = 151;
constexpr std::uint32_t sub_types = 11;

// Names by message type and, from slot 256 on, by sub-type of AAA_MSG_KEL.
struct NameTable {
  const char* slot[type_slots + sub_types + 2];
};

constexpr NameTable make_names() {
  NameTable names = {};
  names.slot[AAA_MSG_REGISTER_REQ] = "register request";
  names.slot[AAA_MSG_REREGISTER_REQ] = "reregister request";
  names.slot[AAA_MSG_DEREGISTER_REQ] = "deregister request";
  names.slot[AAA_MSG_GET_SESSION_ID] = "get session id";
  names.slot[AAA_MSG_SEND_RARE_RESULT] = "send rare result";
  names.slot[AAA_MSG_AUTHEN_REQ] = "authen request";
  names.slot[AAA_MSG_AUTHOR_REQ] = "author request";
  names.slot[AAA_MSG_ACCT_REQ] = "account request";
  names.slot[AAA_MSG_DELETE_USER] = "delete user";
  names.slot[AAA_MSG_QUERY_MLIST_EXIST] = "query method list existence";
  names.slot[AAA_MSG_USER_SYNC] = "user synchronize";
  names.slot[AAA_MSG_RESTORE_USER] = "restore user";
  names.slot[AAA_MSG_SERVER_MIB] = "server mib";
  names.slot[AAA_MSG_REGISTER_GROUP] = "register group";
  names.slot[AAA_MSG_GS_VALID_RESP] = "group server valid response";
  names.slot[AAA_MSG_RDS_ONLINE_INFO_RESP] = "rds online info resp";
  names.slot[AAA_MSG_SET_RADIUS_GROUP_STATE] = "set radius group state";
  names.slot[AAA_MSG_RADIUS_GROUP_STATE_CHANGE] = "radius group state change";
  names.slot[AAA_MSG_QUERY_AUTHEN_MLIST_STATE] = "query authen method list state";
  names.slot[AAA_MSG_CLEAR_USER] = "clear user";
  names.slot[AAA_MSG_HOT_BACKUP_USER_SYNC] = "hot backup user sync";
  names.slot[AAA_MSG_DOT1X_MIB] = "dot1x mib";
  names.slot[AAA_MSG_LOCAL_QUERY_PWD] = "local query pwd";
  names.slot[AAA_MSG_RADEXT_REQ] = "radext request";
  names.slot[AAA_MSG_RADEXT_ADD_RESULT] = "radext add result";
  names.slot[AAA_MSG_PAD_PKT] = "PAD pkt";
  names.slot[AAA_MSG_UPDATE_USER_PWD_REQ] = "update user pwd req";
  names.slot[AAA_MSG_INTERFACE_CONTROL] = "interface control";
  names.slot[AAA_MSG_GET_NEW_MODEL_STATE_REQ] = "get aaa new model state request";
  names.slot[AAA_MSG_LDAP_SEARCH_REQ] = "ldap search request";
  names.slot[AAA_MSG_LDAP_SEARCH_RESULT] = "ldap search result";
  names.slot[AAA_MSG_MOVE_OUT_DELETE_USER] = "move out delete user";
  names.slot[AAA_MSG_REGISTER_RESP] = "register response";
  names.slot[AAA_MSG_DEREGISTER_RESP] = "deregister response";
  names.slot[AAA_MSG_AAA_INFO_READY] = "aaa info ready";
  names.slot[AAA_MSG_NOTIFY_RESULT] = "notify result";
  names.slot[AAA_MSG_MLIST_EXISTED_RESP] = "mlist existed response";
  names.slot[AAA_MSG_NOTIFY_DEL_MSG] = "notify del msg";
  names.slot[AAA_MSG_AAA_DEBUG_INFO] = "aaa debug info";
  names.slot[AAA_MSG_SERVER_MIB_RESP] = "server mib response";
  names.slot[AAA_MSG_REGISTER_GROUP_RESP] = "register group response";
  names.slot[AAA_MSG_AUTHEN_GROUP_REQ] = "authen group req";
  names.slot[AAA_MSG_AUTHOR_GROUP_REQ] = "author group req";
  names.slot[AAA_MSG_ACCT_GROUP_REQ] = "acct group req";
  names.slot[AAA_MSG_GS_VALID_REQ] = "gs valid req";
  names.slot[AAA_MSG_GET_ONLINE_INFO] = "get online info";
  names.slot[AAA_MSG_AUTHEN_MLIST_STATE_RESULT] = "authen mlist state result";
  names.slot[AAA_MSG_LOCAL_AUTHEN_REQ] = "local authen req";
  names.slot[AAA_MSG_LOCAL_AUTHOR_REQ] = "local author req";
  names.slot[AAA_MSG_LOCAL_CHANGE_PWD_REQ] = "local change pwd req";
  names.slot[AAA_MSG_LOCAL_FS_GRANT] = "local fs grant";
  names.slot[AAA_MSG_LOCAL_COPY_USER] = "local copy user";
  names.slot[AAA_MSG_LOCAL_UPDATE_USER] = "local update user";
  names.slot[AAA_MSG_ENABLE_AUTHEN] = "enable authen";
  names.slot[AAA_MSG_MLIST_CHANGE] = "method list chage";
  names.slot[AAA_MSG_DEL_MSG_REQ] = "del msg req";
  names.slot[AAA_MSG_LOCAL_QUERY_PWD_RESP] = "local query pwd resp";
  names.slot[AAA_MSG_ADD_RADEXT_RESULT] = "add radext result";
  names.slot[AAA_MSG_NOTIFY_COA_REQ] = "notify coa req";
  names.slot[AAA_MSG_LOCALEAP_AUTHEN] = "localeap authen";
  names.slot[AAA_MSG_BACKEND_UPDATE_USER_PWD] = "backend udpate user pwd";
  names.slot[AAA_MSG_GET_NEW_MODEL_STATE_RESP] = "get aaa new model state respone";
  names.slot[AAA_MSG_KEL] = "KEL msg";
  names.slot[AAA_MSG_HEARTBEAT] = "heartbeat";
  names.slot[AAA_MSG_LDAP_SEARCH_ENTRY_REQ] = "ldap search request";
  names.slot[AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT] = "notify ldap search result";
  names.slot[last_type] = unknown_msg;

  names.slot[type_slots + AAA_KEL_MSG_UPDATA_SCALAR] = "kel updata scalar";
  names.slot[type_slots + AAA_KEL_MSG_AUTHEN_REQ] = "kel authen req";
  names.slot[type_slots + AAA_KEL_MSG_AUTHOR_REQ] = "kel author req";
  names.slot[type_slots + AAA_KEL_MSG_ACCT_REQ] = "kel account req";
  names.slot[type_slots + AAA_KEL_MSG_RADEXT_REQ] = "kel radext req";
  names.slot[type_slots + AAA_KEL_MSG_RADEXT_ADD_RESULT] = "kel radext add result";
  names.slot[type_slots + AAA_KEL_MSG_RARE_RESULT] = "kel rare result";
  names.slot[type_slots + AAA_KEL_MSG_DEL_MSG_REQ] = "kel del msg req";
  names.slot[type_slots + AAA_KEL_MSG_CLEAR_USER] = "kel clear user";
  names.slot[type_slots + AAA_KEL_MSG_RADEXT_BATCH_REQ] = "kel radext batch req";
  names.slot[type_slots + AAA_KEL_MSG_RADEXT_BATCH_RESULT] = "kel radext batch result";
  names.slot[type_slots + sub_types + 1] = unknown_msg;
  return names;
}

constexpr NameTable names = make_names();

}  // namespace

const char* aaa_ipc_get_msg_type_str(std::uint32_t type) {
  if (type > last_type) return unknown_msg;
  const char* const name = names.slot[type];
  return name != nullptr ? name : unknown_msg;
}

const char* aaa_kel_ipc_get_msg_type_str(std::uint32_t sub_type) {
  if (sub_type - 1 > sub_types - 1) return unknown_msg;
  return names.slot[type_slots + sub_type];
}
