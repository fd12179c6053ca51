#include "soak/client_calls.h"

#include <cerrno>
#include <cstdio>

#include "aaa_client.h"
#include "support/library_test.h"
#include "username_lib.h"

namespace soak {
namespace {

using aaa_sim::Bytes;
using aaa_sim::Frame;

std::int64_t register_client() {
  const reg_info info = test::client("calls");
  return aaa_svr_reg(&info) == 0 ? aaa_is_alive() : -1;
}

template <class Record>
std::int64_t ask_local_database(std::int32_t (*ask)(Record*, result_info**)) {
  Record record = {};
  record.session_id = 9;
  result_info* result = nullptr;
  const std::int32_t outcome = ask(&record, &result);
  if (result != nullptr) aaa_free_result_info(result);
  return outcome;
}

std::int64_t query_statistic() {
  const std::uint8_t mib[392] = {};
  return aaa_srv_mib(mib, 7);
}

// The status that the call stores, or its own result below 0.
std::int64_t update_password() {
  std::uint32_t status = 0;
  const std::int32_t result = aaa_update_user_pwd(1, 2, "user", "old", "new", &status);
  return result == 0 ? std::int64_t{status} : -result;
}

local_user_info alice() {
  local_user_info record = {};
  std::snprintf(record.user_name, sizeof record.user_name, "alice");
  return record;
}

std::int64_t fetch_user() {
  local_user_info record = alice();
  return username_lib_copy_user(&record);
}

std::int64_t update_user() {
  const local_user_info record = alice();
  return username_lib_update_user(&record);
}

constexpr Exchange all_exchanges[] = {
    {"aaa_svr_reg", register_client, 1, 0, 0},
    {"aaa_get_session_id", [] { return std::int64_t{aaa_get_session_id()}; }, 100, 0, 0},
    {"aaa_mlist_existed", [] { return std::int64_t{aaa_mlist_existed(1, 2, 3, "login")}; }, 42, 0,
     0},
    {"aaa_authen_mlist_sta_query",
     [] { return std::int64_t{aaa_authen_mlist_sta_query(1, "login")}; }, 42, 0, 0},
    {"aaa_register_group", [] { return std::int64_t{aaa_register_group(1, "group", 2)}; }, 1, 0, 0},
    {"aaa_srv_mib", query_statistic, 42, -1, -1},
    {"aaa_update_user_pwd", update_password, 42, -4, 1},
    {"username_lib_authen_req", [] { return ask_local_database(username_lib_authen_req); }, 0, -1,
     -1},
    {"username_lib_author_req", [] { return ask_local_database(username_lib_author_req); }, 0, -1,
     -1},
    {"username_lib_chg_pwd", [] { return std::int64_t{username_lib_chg_pwd("a", "b", "c")}; }, 7,
     -5, 7},
    {"username_lib_fs_grant_req",
     [] { return std::int64_t{username_lib_fs_grant_req("a", "b", 1)}; }, -13, -1, -13},
    {"username_lib_query_pwd_secu",
     [] { return std::int64_t{username_lib_query_pwd_secu("a", "b")}; }, 7, -2, -3},
    {"username_lib_copy_user", fetch_user, 0, -3, -3},
    {"username_lib_update_user", update_user, 0, -3, 0},
    {"aaa_svr_dereg", [] { return std::int64_t{aaa_svr_dereg()}; }, 0, 0, -1},
};

constexpr std::uint32_t nines[6] = {9, 9, 9, 9, 9, 9};

template <class Record>
std::int64_t request(std::int32_t (*send)(Record*)) {
  Record record = {};
  record.session_id = 9;
  return send(&record);
}

std::int64_t search() {
  ldap_search_info record = {};
  record.head.session_id = 9;
  return aaa_user_req_search_ldap_entry(&record);
}

std::int64_t answer_search() {
  ldap_search_result record = {};
  record.head.session_id = 9;
  return aaa_add_ldap_search_result(&record);
}

std::int64_t add_result() {
  result_info record = {};
  record.sub.session_id = 9;
  return aaa_method_add_result(&record);
}

std::int64_t restore_user() {
  const restore_user_info record = {};
  return aaa_restore_user(&record, 1);
}

std::int64_t back_up_user() {
  const restore_user_info record = {};
  return aaa_ha_user_syn(9, 0, &record, nullptr);
}

std::int64_t take_radext() {
  const radext_msg record = {};
  return aaa_lib_radext_msg_recv(&record);
}

std::int64_t set_group_state() {
  aaa_set_rds_grp_sta("group", 1);
  return 0;
}

constexpr OneWay all_one_way_calls[] = {
    {"aaa_user_req_authen", [] { return request(aaa_user_req_authen); }, 0, -EAGAIN},
    {"aaa_user_req_author", [] { return request(aaa_user_req_author); }, 0, -EAGAIN},
    {"aaa_user_req_acct", [] { return request(aaa_user_req_acct); }, 0, -EAGAIN},
    {"aaa_notify_ctrl_if_switch", [] { return std::int64_t{aaa_notify_ctrl_if_switch(nines)}; }, 0,
     -EAGAIN},
    {"aaa_clear_req_user", [] { return std::int64_t{aaa_clear_req_user(9)}; }, 0, -1},
    {"aaa_delete_user", [] { return std::int64_t{aaa_delete_user(9, 1)}; }, 0, 0},
    {"aaa_move_out_delete_user", [] { return std::int64_t{aaa_move_out_delete_user(9, 1)}; }, 0, 0},
    {"aaa_user_syn", [] { return std::int64_t{aaa_user_syn(9, nines)}; }, 0, -1},
    {"aaa_restore_user", restore_user, 0, -1},
    {"aaa_ha_user_syn", back_up_user, 0, -1},
    {"aaa_method_add_result", add_result, 0, -EAGAIN},
    {"aaa_mib_from_dot1x", [] { return std::int64_t{aaa_mib_from_dot1x(nines)}; }, 0, -1},
    {"aaa_set_rds_grp_sta", set_group_state, 0, 0},
    {"aaa_rds_grp_sta_chg", [] { return std::int64_t{aaa_rds_grp_sta_chg()}; }, 0, 0},
    {"aaa_lib_radext_msg_recv", take_radext, 1, 0},
    {"aaa_front_add_radext_result",
     [] { return std::int64_t{aaa_front_add_radext_result(1, 2, 3)}; }, 0, -1},
    {"aaa_front_add_radext_result2",
     [] { return std::int64_t{aaa_front_add_radext_result2(nines)}; }, 0, -1},
    {"aaa_add_user_pwd_update_result",
     [] { return std::int64_t{aaa_add_user_pwd_update_result(1, 2)}; }, 0, 4},
    {"aaa_user_req_search_ldap_entry", search, 0, -EAGAIN},
    {"aaa_add_ldap_search_result", answer_search, 0, -EAGAIN},
};

Bytes encoded_result() {
  result_info record = {};
  record.sub.session_id = 9;
  void* body = nullptr;
  const std::uint32_t length = aaa_encap_result_info(&record, &body);
  const auto* const first = static_cast<const std::uint8_t*>(body);
  const Bytes bytes(first, first + length);
  aaa_free(__LINE__, __func__, body);
  return bytes;
}

}  // namespace

std::span<const Exchange> exchanges() {
  return all_exchanges;
}
std::span<const OneWay> one_way_calls() {
  return all_one_way_calls;
}

StubAaad::Answers answers_to_exchanges() {
  const auto frame = [](std::uint32_t type, const Bytes& body) {
    return aaa_sim::make_frame(type, 0, body);
  };
  const Bytes yes = {42, 0, 0, 0};
  return {
      {AAA_MSG_GET_SESSION_ID, frame(AAA_MSG_GET_SESSION_ID, {100, 0, 0, 0, 1, 0, 0, 0})},
      {AAA_MSG_QUERY_MLIST_EXIST, frame(AAA_MSG_MLIST_EXISTED_RESP, yes)},
      {AAA_MSG_QUERY_AUTHEN_MLIST_STATE, frame(AAA_MSG_AUTHEN_MLIST_STATE_RESULT, yes)},
      {AAA_MSG_REGISTER_GROUP, frame(AAA_MSG_REGISTER_GROUP_RESP, Bytes(4))},
      {AAA_MSG_SERVER_MIB, frame(AAA_MSG_SERVER_MIB_RESP, yes)},
      {AAA_MSG_UPDATE_USER_PWD_REQ, frame(AAA_MSG_UPDATE_USER_PWD_RESP, {0, 0, 0, 0, 42, 0, 0, 0})},
      {AAA_MSG_LOCAL_AUTHEN_REQ, frame(AAA_MSG_LOCAL_AUTHEN_REQ, encoded_result())},
      {AAA_MSG_LOCAL_AUTHOR_REQ, frame(AAA_MSG_LOCAL_AUTHOR_REQ, encoded_result())},
      {AAA_MSG_LOCAL_CHANGE_PWD_REQ, frame(AAA_MSG_LOCAL_CHANGE_PWD_REQ, {7, 0, 0, 0})},
      {AAA_MSG_LOCAL_FS_GRANT, frame(AAA_MSG_LOCAL_FS_GRANT, {13, 0, 0, 0})},
      {AAA_MSG_LOCAL_QUERY_PWD, frame(AAA_MSG_LOCAL_QUERY_PWD_RESP, {7, 0, 0, 0})},
      {AAA_MSG_LOCAL_COPY_USER,
       frame(AAA_MSG_LOCAL_COPY_USER, {2, 0, 0, 0, 12, 0, 0, 0, 7, 0, 0, 0})},
      {AAA_MSG_LOCAL_UPDATE_USER, frame(AAA_MSG_LOCAL_UPDATE_USER, {1})},
      {AAA_MSG_DEREGISTER_REQ, frame(AAA_MSG_DEREGISTER_RESP, {})},
  };
}

}  // namespace soak
