// The catalogue of message types: the numbers are a contract with aaad, the names appear in log
// lines and diagnostics.
#include <cstddef>
#include <cstdint>

#include "aaa_client.h"

namespace {

constexpr std::size_t type_slots = AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT + 1;
constexpr std::uint32_t sub_types = 11;

// A text of all names and where each begins in it, by message type and, behind the last type, by
// sub-type of AAA_MSG_KEL. Pointers would have to be relocated in every process. At 0 is the name
// of the others.
struct NameTable {
  char text[1398] = "Unknown msg";
  std::uint16_t slot[type_slots + sub_types + 1] = {};
  std::uint16_t size = sizeof "Unknown msg";

  constexpr void add(std::size_t place, const char* name) {
    slot[place] = size;
    do {
      text[size++] = *name;
    } while (*name++ != '\0');
  }
};

constexpr NameTable make_names() {
  NameTable names = {};
  names.add(AAA_MSG_REGISTER_REQ, "register request");
  names.add(AAA_MSG_REREGISTER_REQ, "reregister request");
  names.add(AAA_MSG_DEREGISTER_REQ, "deregister request");
  names.add(AAA_MSG_GET_SESSION_ID, "get session id");
  names.add(AAA_MSG_SEND_RARE_RESULT, "send rare result");
  names.add(AAA_MSG_AUTHEN_REQ, "authen request");
  names.add(AAA_MSG_AUTHOR_REQ, "author request");
  names.add(AAA_MSG_ACCT_REQ, "account request");
  names.add(AAA_MSG_DELETE_USER, "delete user");
  names.add(AAA_MSG_QUERY_MLIST_EXIST, "query method list existence");
  names.add(AAA_MSG_USER_SYNC, "user synchronize");
  names.add(AAA_MSG_RESTORE_USER, "restore user");
  names.add(AAA_MSG_SERVER_MIB, "server mib");
  names.add(AAA_MSG_REGISTER_GROUP, "register group");
  names.add(AAA_MSG_GS_VALID_RESP, "group server valid response");
  names.add(AAA_MSG_RDS_ONLINE_INFO_RESP, "rds online info resp");
  names.add(AAA_MSG_SET_RADIUS_GROUP_STATE, "set radius group state");
  names.add(AAA_MSG_RADIUS_GROUP_STATE_CHANGE, "radius group state change");
  names.add(AAA_MSG_QUERY_AUTHEN_MLIST_STATE, "query authen method list state");
  names.add(AAA_MSG_CLEAR_USER, "clear user");
  names.add(AAA_MSG_HOT_BACKUP_USER_SYNC, "hot backup user sync");
  names.add(AAA_MSG_DOT1X_MIB, "dot1x mib");
  names.add(AAA_MSG_LOCAL_QUERY_PWD, "local query pwd");
  names.add(AAA_MSG_RADEXT_REQ, "radext request");
  names.add(AAA_MSG_RADEXT_ADD_RESULT, "radext add result");
  names.add(AAA_MSG_PAD_PKT, "PAD pkt");
  names.add(AAA_MSG_UPDATE_USER_PWD_REQ, "update user pwd req");
  names.add(AAA_MSG_INTERFACE_CONTROL, "interface control");
  names.add(AAA_MSG_GET_NEW_MODEL_STATE_REQ, "get aaa new model state request");
  names.add(AAA_MSG_LDAP_SEARCH_REQ, "ldap search request");
  names.add(AAA_MSG_LDAP_SEARCH_RESULT, "ldap search result");
  names.add(AAA_MSG_MOVE_OUT_DELETE_USER, "move out delete user");
  names.add(AAA_MSG_REGISTER_RESP, "register response");
  names.add(AAA_MSG_DEREGISTER_RESP, "deregister response");
  names.add(AAA_MSG_AAA_INFO_READY, "aaa info ready");
  names.add(AAA_MSG_NOTIFY_RESULT, "notify result");
  names.add(AAA_MSG_MLIST_EXISTED_RESP, "mlist existed response");
  names.add(AAA_MSG_NOTIFY_DEL_MSG, "notify del msg");
  names.add(AAA_MSG_AAA_DEBUG_INFO, "aaa debug info");
  names.add(AAA_MSG_SERVER_MIB_RESP, "server mib response");
  names.add(AAA_MSG_REGISTER_GROUP_RESP, "register group response");
  names.add(AAA_MSG_AUTHEN_GROUP_REQ, "authen group req");
  names.add(AAA_MSG_AUTHOR_GROUP_REQ, "author group req");
  names.add(AAA_MSG_ACCT_GROUP_REQ, "acct group req");
  names.add(AAA_MSG_GS_VALID_REQ, "gs valid req");
  names.add(AAA_MSG_GET_ONLINE_INFO, "get online info");
  names.add(AAA_MSG_AUTHEN_MLIST_STATE_RESULT, "authen mlist state result");
  names.add(AAA_MSG_LOCAL_AUTHEN_REQ, "local authen req");
  names.add(AAA_MSG_LOCAL_AUTHOR_REQ, "local author req");
  names.add(AAA_MSG_LOCAL_CHANGE_PWD_REQ, "local change pwd req");
  names.add(AAA_MSG_LOCAL_FS_GRANT, "local fs grant");
  names.add(AAA_MSG_LOCAL_COPY_USER, "local copy user");
  names.add(AAA_MSG_LOCAL_UPDATE_USER, "local update user");
  names.add(AAA_MSG_ENABLE_AUTHEN, "enable authen");
  names.add(AAA_MSG_MLIST_CHANGE, "method list chage");
  names.add(AAA_MSG_DEL_MSG_REQ, "del msg req");
  names.add(AAA_MSG_LOCAL_QUERY_PWD_RESP, "local query pwd resp");
  names.add(AAA_MSG_ADD_RADEXT_RESULT, "add radext result");
  names.add(AAA_MSG_NOTIFY_COA_REQ, "notify coa req");
  names.add(AAA_MSG_LOCALEAP_AUTHEN, "localeap authen");
  names.add(AAA_MSG_BACKEND_UPDATE_USER_PWD, "backend udpate user pwd");
  names.add(AAA_MSG_GET_NEW_MODEL_STATE_RESP, "get aaa new model state respone");
  names.add(AAA_MSG_KEL, "KEL msg");
  names.add(AAA_MSG_HEARTBEAT, "heartbeat");
  names.add(AAA_MSG_LDAP_SEARCH_ENTRY_REQ, "ldap search request");
  names.add(AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT, "notify ldap search result");

  names.add(type_slots + AAA_KEL_MSG_UPDATA_SCALAR, "kel updata scalar");
  names.add(type_slots + AAA_KEL_MSG_AUTHEN_REQ, "kel authen req");
  names.add(type_slots + AAA_KEL_MSG_AUTHOR_REQ, "kel author req");
  names.add(type_slots + AAA_KEL_MSG_ACCT_REQ, "kel account req");
  names.add(type_slots + AAA_KEL_MSG_RADEXT_REQ, "kel radext req");
  names.add(type_slots + AAA_KEL_MSG_RADEXT_ADD_RESULT, "kel radext add result");
  names.add(type_slots + AAA_KEL_MSG_RARE_RESULT, "kel rare result");
  names.add(type_slots + AAA_KEL_MSG_DEL_MSG_REQ, "kel del msg req");
  names.add(type_slots + AAA_KEL_MSG_CLEAR_USER, "kel clear user");
  names.add(type_slots + AAA_KEL_MSG_RADEXT_BATCH_REQ, "kel radext batch req");
  names.add(type_slots + AAA_KEL_MSG_RADEXT_BATCH_RESULT, "kel radext batch result");
  return names;
}

constexpr NameTable names = make_names();

}  // namespace

const char* aaa_ipc_get_msg_type_str(std::uint32_t type) {
  return names.text + (type < type_slots ? names.slot[type] : 0);
}

const char* aaa_kel_ipc_get_msg_type_str(std::uint32_t sub_type) {
  const bool is_known = sub_type >= 1 && sub_type <= sub_types;
  return names.text + (is_known ? names.slot[type_slots + sub_type] : 0);
}
