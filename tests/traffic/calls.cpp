#include "traffic/calls.h"

#include <cerrno>
#include <cstdio>

#include "traffic/touch.h"
#include "username_lib.h"

namespace traffic {

void read_and_release(result_info* result) {
  touch(result, sizeof *result);
  // Three items point into a body that the library has released.
  result->item_318 = result->item_319 = result->item_320 = {};
  touch_items(*result);
  aaa_free_result_info(result);
}

namespace {

constexpr std::uint32_t nines[6] = {9, 9, 9, 9, 9, 9};

template <class Record>
Record of_session() {
  Record record = {};
  if constexpr (requires { record.session_id; })
    record.session_id = some_session;
  else if constexpr (requires { record.sub; })
    record.sub.session_id = some_session;
  else
    record.head.session_id = some_session;
  return record;
}

// ---- Exchanges ----

std::int64_t register_client() {
  reg_info info = {};
  std::snprintf(info.model_name, sizeof info.model_name, "calls");
  return aaa_svr_reg(&info) == 0 ? aaa_is_alive() : -1;
}

template <auto ask, class Record>
std::int64_t ask_local_database() {
  Record record = of_session<Record>();
  result_info* result = nullptr;
  const std::int32_t outcome = ask(&record, &result);
  if (outcome == 0) read_and_release(result);
  return outcome;
}

std::int64_t ask_for_statistic() {
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
  const std::int32_t outcome = username_lib_copy_user(&record);
  touch(&record, sizeof record);
  if (outcome == 0) username_lib_release_user(&record);
  return outcome;
}

std::int64_t update_user() {
  const local_user_info record = alice();
  return username_lib_update_user(&record);
}

Message answer(std::uint32_t type, std::initializer_list<std::uint32_t> body) {
  return {"answer", type, test::word_bytes(body)};
}
Message result(std::uint32_t type) {
  result_info record = of_session<result_info>();
  return {"answer", type, test::encoded_body(aaa_encap_result_info, record)};
}

// ---- Calls that only send ----

template <auto send, class Record>
std::int64_t request() {
  Record record = of_session<Record>();
  return send(&record);
}

std::int64_t restore_user() {
  const restore_user_info record = {};
  return aaa_restore_user(&record, 1);
}

std::int64_t back_up_user() {
  const restore_user_info record = {};
  return aaa_ha_user_syn(some_session, 0, &record, nullptr);
}

std::int64_t take_radext() {
  const radext_msg record = {};
  return aaa_lib_radext_msg_recv(&record);
}

std::int64_t set_group_state() {
  aaa_set_rds_grp_sta("group", 1);
  return 0;
}

// What `call` returns with these arguments, as a number.
template <auto call, auto... arguments>
std::int64_t returned() {
  return std::int64_t{call(arguments...)};
}

constexpr OneWay all_one_way_calls[] = {
    {"aaa_user_req_authen", request<aaa_user_req_authen, authen_info>, 0, -EAGAIN},
    {"aaa_user_req_author", request<aaa_user_req_author, author_info>, 0, -EAGAIN},
    {"aaa_user_req_acct", request<aaa_user_req_acct, acct_info>, 0, -EAGAIN},
    {"aaa_notify_ctrl_if_switch", returned<aaa_notify_ctrl_if_switch, nines>, 0, -EAGAIN},
    {"aaa_clear_req_user", returned<aaa_clear_req_user, 9>, 0, -1},
    {"aaa_delete_user", returned<aaa_delete_user, 9, 1>, 0, 0},
    {"aaa_move_out_delete_user", returned<aaa_move_out_delete_user, 9, 1>, 0, 0},
    {"aaa_user_syn", returned<aaa_user_syn, 9, nines>, 0, -1},
    {"aaa_restore_user", restore_user, 0, -1},
    {"aaa_ha_user_syn", back_up_user, 0, -1},
    {"aaa_method_add_result", request<aaa_method_add_result, result_info>, 0, -EAGAIN},
    {"aaa_mib_from_dot1x", returned<aaa_mib_from_dot1x, nines>, 0, -1},
    {"aaa_set_rds_grp_sta", set_group_state, 0, 0},
    {"aaa_rds_grp_sta_chg", returned<aaa_rds_grp_sta_chg>, 0, 0},
    {"aaa_lib_radext_msg_recv", take_radext, 1, 0},
    {"aaa_front_add_radext_result", returned<aaa_front_add_radext_result, 1, 2, 3>, 0, -1},
    {"aaa_front_add_radext_result2", returned<aaa_front_add_radext_result2, nines>, 0, -1},
    {"aaa_add_user_pwd_update_result", returned<aaa_add_user_pwd_update_result, 1, 2>, 0, 4},
    {"aaa_user_req_search_ldap_entry", request<aaa_user_req_search_ldap_entry, ldap_search_info>, 0,
     -EAGAIN},
    {"aaa_add_ldap_search_result", request<aaa_add_ldap_search_result, ldap_search_result>, 0,
     -EAGAIN},
};

}  // namespace

const std::vector<Exchange>& exchanges() {
  static const std::vector<Exchange> all = {
      {"aaa_svr_reg", register_client, AAA_MSG_REGISTER_REQ, register_answer(), 1, 0, 0},
      {"aaa_get_session_id", returned<aaa_get_session_id>, AAA_MSG_GET_SESSION_ID,
       answer(AAA_MSG_GET_SESSION_ID, {100, 1}), 100, 0, 0},
      {"aaa_mlist_existed", [] { return std::int64_t{aaa_mlist_existed(1, 2, 3, "login")}; },
       AAA_MSG_QUERY_MLIST_EXIST, answer(AAA_MSG_MLIST_EXISTED_RESP, {42}), 42, 0, 0},
      {"aaa_authen_mlist_sta_query",
       [] { return std::int64_t{aaa_authen_mlist_sta_query(1, "login")}; },
       AAA_MSG_QUERY_AUTHEN_MLIST_STATE, answer(AAA_MSG_AUTHEN_MLIST_STATE_RESULT, {42}), 42, 0, 0},
      {"aaa_register_group", [] { return std::int64_t{aaa_register_group(1, "group", 2)}; },
       AAA_MSG_REGISTER_GROUP, answer(AAA_MSG_REGISTER_GROUP_RESP, {0}), 1, 0, 0},
      {"aaa_srv_mib", ask_for_statistic, AAA_MSG_SERVER_MIB, answer(AAA_MSG_SERVER_MIB_RESP, {42}),
       42, -1, -1},
      {"aaa_update_user_pwd", update_password, AAA_MSG_UPDATE_USER_PWD_REQ,
       answer(AAA_MSG_UPDATE_USER_PWD_RESP, {0, 42}), 42, -4, 1},
      {"username_lib_authen_req", ask_local_database<username_lib_authen_req, authen_info>,
       AAA_MSG_LOCAL_AUTHEN_REQ, result(AAA_MSG_LOCAL_AUTHEN_REQ), 0, -1, -1},
      {"username_lib_author_req", ask_local_database<username_lib_author_req, author_info>,
       AAA_MSG_LOCAL_AUTHOR_REQ, result(AAA_MSG_LOCAL_AUTHOR_REQ), 0, -1, -1},
      {"username_lib_chg_pwd", [] { return std::int64_t{username_lib_chg_pwd("a", "b", "c")}; },
       AAA_MSG_LOCAL_CHANGE_PWD_REQ, answer(AAA_MSG_LOCAL_CHANGE_PWD_REQ, {7}), 7, -5, 7},
      {"username_lib_fs_grant_req",
       [] { return std::int64_t{username_lib_fs_grant_req("a", "b", 1)}; }, AAA_MSG_LOCAL_FS_GRANT,
       answer(AAA_MSG_LOCAL_FS_GRANT, {13}), -13, -1, -13},
      {"username_lib_query_pwd_secu",
       [] { return std::int64_t{username_lib_query_pwd_secu("a", "b")}; }, AAA_MSG_LOCAL_QUERY_PWD,
       answer(AAA_MSG_LOCAL_QUERY_PWD_RESP, {7}), 7, -2, -3},
      {"username_lib_copy_user", fetch_user, AAA_MSG_LOCAL_COPY_USER,
       answer(AAA_MSG_LOCAL_COPY_USER, {2, 12, 7}), 0, -3, -3},
      {"username_lib_update_user",
       update_user,
       AAA_MSG_LOCAL_UPDATE_USER,
       {"answer", AAA_MSG_LOCAL_UPDATE_USER, "\1"},
       0,
       -3,
       0},
      {"aaa_svr_dereg", returned<aaa_svr_dereg>, AAA_MSG_DEREGISTER_REQ, deregister_answer(), 0, 0,
       -1},
  };
  return all;
}

std::span<const Exchange> questions() {
  return std::span(exchanges()).subspan(1, exchanges().size() - 2);
}

namespace {

// Items whose length counts their header of 8 bytes.
std::string whole_user() {
  std::string body;
  const auto add = [&](std::uint32_t type, const std::string& value) {
    body += test::word_bytes({type, static_cast<std::uint32_t>(8 + value.size())}) + value;
  };
  add(1, "alice");
  add(6, "first");
  add(6, "second");
  add(18, "string 18");
  add(19, "string 19");
  for (const std::uint32_t type : {2u, 5u, 10u, 12u, 13u, 20u, 7u, 8u, 9u})
    add(type, test::word_bytes(type));
  return body;
}

}  // namespace

Message full_answer(const Exchange& exchange) {
  switch (exchange.request) {
    case AAA_MSG_LOCAL_AUTHEN_REQ:
    case AAA_MSG_LOCAL_AUTHOR_REQ:
      return {"answer", exchange.answer.type, full_body<result_info>()};
    case AAA_MSG_LOCAL_COPY_USER:
      return {"answer", exchange.answer.type, whole_user()};
    default:
      return exchange.answer;
  }
}

std::span<const OneWay> one_way_calls() {
  return all_one_way_calls;
}

}  // namespace traffic
