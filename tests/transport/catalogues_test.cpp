// Catalogues: message types with their numbers, constants and display names, terminate causes.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "aaa_client.h"

namespace test::catalogues {

struct Row {
  std::uint32_t number;
  std::uint32_t constant;
  const char* name;
};

constexpr Row kTypes[] = {
    {0, AAA_MSG_REGISTER_REQ, "register request"},
    {1, AAA_MSG_REREGISTER_REQ, "reregister request"},
    {2, AAA_MSG_DEREGISTER_REQ, "deregister request"},
    {3, AAA_MSG_GET_SESSION_ID, "get session id"},
    {4, AAA_MSG_SEND_RARE_RESULT, "send rare result"},
    {5, AAA_MSG_AUTHEN_REQ, "authen request"},
    {6, AAA_MSG_AUTHOR_REQ, "author request"},
    {7, AAA_MSG_ACCT_REQ, "account request"},
    {8, AAA_MSG_DELETE_USER, "delete user"},
    {9, AAA_MSG_QUERY_MLIST_EXIST, "query method list existence"},
    {10, AAA_MSG_USER_SYNC, "user synchronize"},
    {11, AAA_MSG_RESTORE_USER, "restore user"},
    {12, AAA_MSG_SERVER_MIB, "server mib"},
    {13, AAA_MSG_REGISTER_GROUP, "register group"},
    {14, AAA_MSG_GS_VALID_RESP, "group server valid response"},
    {15, AAA_MSG_RDS_ONLINE_INFO_RESP, "rds online info resp"},
    {16, AAA_MSG_SET_RADIUS_GROUP_STATE, "set radius group state"},
    {17, AAA_MSG_RADIUS_GROUP_STATE_CHANGE, "radius group state change"},
    {18, AAA_MSG_QUERY_AUTHEN_MLIST_STATE, "query authen method list state"},
    {19, AAA_MSG_CLEAR_USER, "clear user"},
    {20, AAA_MSG_HOT_BACKUP_USER_SYNC, "hot backup user sync"},
    {21, AAA_MSG_DOT1X_MIB, "dot1x mib"},
    {22, AAA_MSG_LOCAL_QUERY_PWD, "local query pwd"},
    {23, AAA_MSG_RADEXT_REQ, "radext request"},
    {24, AAA_MSG_RADEXT_ADD_RESULT, "radext add result"},
    {25, AAA_MSG_PAD_PKT, "PAD pkt"},
    {26, AAA_MSG_UPDATE_USER_PWD_REQ, "update user pwd req"},
    {27, AAA_MSG_USER_PWD_UPDATE_RESULT, "Unknown msg"},
    {28, AAA_MSG_INTERFACE_CONTROL, "interface control"},
    {29, AAA_MSG_GET_NEW_MODEL_STATE_REQ, "get aaa new model state request"},
    {32, AAA_MSG_LDAP_SEARCH_REQ, "ldap search request"},
    {33, AAA_MSG_LDAP_SEARCH_RESULT, "ldap search result"},
    {34, AAA_MSG_MOVE_OUT_DELETE_USER, "move out delete user"},
    {100, AAA_MSG_REGISTER_RESP, "register response"},
    {101, AAA_MSG_DEREGISTER_RESP, "deregister response"},
    {102, AAA_MSG_AAA_INFO_READY, "aaa info ready"},
    {103, AAA_MSG_NOTIFY_RESULT, "notify result"},
    {104, AAA_MSG_MLIST_EXISTED_RESP, "mlist existed response"},
    {105, AAA_MSG_NOTIFY_DEL_MSG, "notify del msg"},
    {106, AAA_MSG_AAA_DEBUG_INFO, "aaa debug info"},
    {107, AAA_MSG_SERVER_MIB_RESP, "server mib response"},
    {108, AAA_MSG_REGISTER_GROUP_RESP, "register group response"},
    {109, AAA_MSG_AUTHEN_GROUP_REQ, "authen group req"},
    {110, AAA_MSG_AUTHOR_GROUP_REQ, "author group req"},
    {111, AAA_MSG_ACCT_GROUP_REQ, "acct group req"},
    {112, AAA_MSG_GS_VALID_REQ, "gs valid req"},
    {113, AAA_MSG_GET_ONLINE_INFO, "get online info"},
    {114, AAA_MSG_AUTHEN_MLIST_STATE_RESULT, "authen mlist state result"},
    {115, AAA_MSG_LOCAL_AUTHEN_REQ, "local authen req"},
    {116, AAA_MSG_LOCAL_AUTHOR_REQ, "local author req"},
    {117, AAA_MSG_LOCAL_CHANGE_PWD_REQ, "local change pwd req"},
    {118, AAA_MSG_LOCAL_FS_GRANT, "local fs grant"},
    {119, AAA_MSG_LOCAL_COPY_USER, "local copy user"},
    {120, AAA_MSG_LOCAL_UPDATE_USER, "local update user"},
    {121, AAA_MSG_ENABLE_AUTHEN, "enable authen"},
    {122, AAA_MSG_MLIST_CHANGE, "method list chage"},
    {123, AAA_MSG_DEL_MSG_REQ, "del msg req"},
    {124, AAA_MSG_LOCAL_QUERY_PWD_RESP, "local query pwd resp"},
    {125, AAA_MSG_ADD_RADEXT_RESULT, "add radext result"},
    {126, AAA_MSG_NOTIFY_COA_REQ, "notify coa req"},
    {127, AAA_MSG_LOCALEAP_AUTHEN, "localeap authen"},
    {128, AAA_MSG_BACKEND_UPDATE_USER_PWD, "backend udpate user pwd"},
    {129, AAA_MSG_UPDATE_USER_PWD_RESP, "Unknown msg"},
    {130, AAA_MSG_GET_NEW_MODEL_STATE_RESP, "get aaa new model state respone"},
    {131, AAA_MSG_KEL, "KEL msg"},
    {132, AAA_MSG_HEARTBEAT, "heartbeat"},
    {140, AAA_MSG_LDAP_SEARCH_ENTRY_REQ, "ldap search request"},
    {141, AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT, "notify ldap search result"},
    {151, 151, "Unknown msg"},
};

constexpr Row kSubTypes[] = {
    {1, AAA_KEL_MSG_UPDATA_SCALAR, "kel updata scalar"},
    {2, AAA_KEL_MSG_AUTHEN_REQ, "kel authen req"},
    {3, AAA_KEL_MSG_AUTHOR_REQ, "kel author req"},
    {4, AAA_KEL_MSG_ACCT_REQ, "kel account req"},
    {5, AAA_KEL_MSG_RADEXT_REQ, "kel radext req"},
    {6, AAA_KEL_MSG_RADEXT_ADD_RESULT, "kel radext add result"},
    {7, AAA_KEL_MSG_RARE_RESULT, "kel rare result"},
    {8, AAA_KEL_MSG_DEL_MSG_REQ, "kel del msg req"},
    {9, AAA_KEL_MSG_CLEAR_USER, "kel clear user"},
    {10, AAA_KEL_MSG_RADEXT_BATCH_REQ, "kel radext batch req"},
    {11, AAA_KEL_MSG_RADEXT_BATCH_RESULT, "kel radext batch result"},
};

TEST(MessageTypes, EveryConstantHasItsNumber) {
  for (const Row& row : kTypes)
    EXPECT_EQ(row.number, row.constant) << row.name;
  for (const Row& row : kSubTypes)
    EXPECT_EQ(row.number, row.constant) << row.name;
}

TEST(MessageTypes, EveryNumberHasItsNameOrNone) {
  std::map<std::uint32_t, std::string> names;
  for (const Row& row : kTypes)
    names[row.number] = row.name;
  for (std::uint32_t type = 0; type < 256; ++type) {
    const auto known = names.find(type);
    EXPECT_EQ(known == names.end() ? "Unknown msg" : known->second, aaa_ipc_get_msg_type_str(type))
        << type;
  }
  for (const std::uint32_t type : {256u, 257u, 258u, 267u, 268u, 1000u, 0x80000000u, 0xFFFFFFFFu})
    EXPECT_STREQ("Unknown msg", aaa_ipc_get_msg_type_str(type)) << type;
}

TEST(MessageTypes, EverySubTypeFrom1To11HasItsName) {
  for (const Row& row : kSubTypes)
    EXPECT_STREQ(row.name, aaa_kel_ipc_get_msg_type_str(row.number)) << row.number;
  for (const std::uint32_t type : {0u, 12u, 13u, 255u, 256u, 268u, 0x80000000u, 0xFFFFFFFFu})
    EXPECT_STREQ("Unknown msg", aaa_kel_ipc_get_msg_type_str(type)) << type;
}

const std::map<std::uint32_t, std::string> kCauses = {
    {1, "User request"},
    {2, "Lost carrier"},
    {3, "Lost service"},
    {4, "Idle timeout"},
    {5, "Session timeout"},
    {6, "Admin reset"},
    {7, "Admin reboot"},
    {8, "Port error"},
    {9, "Nas error"},
    {10, "Nas request"},
    {12, "Port unneeded"},
    {14, "Port suspended"},
    {15, "Service unavailable"},
    {16, "Callback"},
    {17, "User error"},
    {18, "Host request"},
    {19, "Supplicant restart"},
    {20, "Reauth fail"},
    {21, "Port reinit"},
    {22, "Port admin disabled"},
    {200, "Hello timeout"},
    {250, "Low flow detect"},
    {500, "Authen timeout"},
    {501, "Authen reject"},
    {502, "Over user limit"},
};

TEST(TerminateCauses, EveryCodeHasItsTextOrNone) {
  for (const auto& [code, text] : kCauses)
    EXPECT_STREQ(text.c_str(), rds_acct_term_cause_string(code)) << code;
  for (std::uint32_t code = 0; code < 1000; ++code) {
    if (kCauses.count(code) != 0) continue;
    EXPECT_EQ(nullptr, rds_acct_term_cause_string(code)) << code;
  }
  EXPECT_EQ(nullptr, rds_acct_term_cause_string(0xFFFFFFFF));
}

}  // namespace test::catalogues
