#include "backend/answers.h"

#include <algorithm>
#include <array>

#include "backend/local_user_requests.h"
#include "backend/queries.h"
#include "backend/report_requests.h"
#include "backend/results.h"

namespace aaa_sim {
namespace {

Replies answer_registration(Backend& backend, const Request& request) {
  if (request.role == Role::request)
    return {{Role::request, AAA_MSG_REGISTER_RESP, 0,
             encode_words(std::span(&backend.settings.aaa_id, 1))}};
  return {{Role::event, AAA_MSG_AAA_INFO_READY, 0, encode_status(backend.settings.status)}};
}

Replies answer_deregistration(Backend&, const Request&) {
  return {{Role::request, AAA_MSG_DEREGISTER_RESP, 0, {}}};
}

// Consecutive blocks for all clients together: no id is granted twice.
Replies grant_session_ids(Backend& backend, const Request&) {
  Settings& settings = backend.settings;
  const std::array<std::uint32_t, 2> block{settings.next_session_id, settings.session_ids};
  if (settings.next_session_id != 0)
    settings.next_session_id += std::max<std::uint32_t>(settings.session_ids, 1);
  return {{Role::request, AAA_MSG_GET_SESSION_ID, 0, encode_words(block)}};
}

Replies answer_authentication(Backend& backend, const Request& request) {
  const std::uint32_t id = request.header.id;
  return {{Role::event, AAA_MSG_NOTIFY_RESULT, id,
           authentication_result(backend.settings.users, id, request.body)}};
}

Replies accept(Backend&, const Request& request) {
  const std::uint32_t id = request.header.id;
  return {{Role::event, AAA_MSG_NOTIFY_RESULT, id, acceptance(id)}};
}

Replies answer_heartbeat(Backend& backend, const Request&) {
  if (!backend.settings.answer_heartbeats) return {};
  return {{Role::event, AAA_MSG_HEARTBEAT, 0, {}}};
}

struct Row {
  std::uint32_t type;
  Replies (*answer)(Backend&, const Request&);
};

constexpr Row kAnswers[] = {
    {AAA_MSG_REGISTER_REQ, answer_registration},
    {AAA_MSG_DEREGISTER_REQ, answer_deregistration},
    {AAA_MSG_GET_SESSION_ID, grant_session_ids},
    {AAA_MSG_SEND_RARE_RESULT, report_rare_result},
    {AAA_MSG_AUTHEN_REQ, answer_authentication},
    {AAA_MSG_AUTHOR_REQ, accept},
    {AAA_MSG_ACCT_REQ, report_accounting},
    {AAA_MSG_DELETE_USER, delete_user},
    {AAA_MSG_QUERY_MLIST_EXIST, query_method_list},
    {AAA_MSG_USER_SYNC, synchronise_user},
    {AAA_MSG_RESTORE_USER, restore_user},
    {AAA_MSG_SERVER_MIB, query_server_statistic},
    {AAA_MSG_REGISTER_GROUP, register_group},
    {AAA_MSG_GS_VALID_RESP, report_group_verdict},
    {AAA_MSG_RDS_ONLINE_INFO_RESP, report_online_info},
    {AAA_MSG_SET_RADIUS_GROUP_STATE, set_radius_group_state},
    {AAA_MSG_RADIUS_GROUP_STATE_CHANGE, report_radius_group_change},
    {AAA_MSG_QUERY_AUTHEN_MLIST_STATE, query_method_list_state},
    {AAA_MSG_CLEAR_USER, clear_user},
    {AAA_MSG_HOT_BACKUP_USER_SYNC, back_up_user},
    {AAA_MSG_DOT1X_MIB, report_dot1x},
    {AAA_MSG_LOCAL_QUERY_PWD, check_password},
    {AAA_MSG_RADEXT_REQ, request_radext},
    {AAA_MSG_RADEXT_ADD_RESULT, report_radext_result},
    {AAA_MSG_UPDATE_USER_PWD_REQ, update_password},
    {AAA_MSG_USER_PWD_UPDATE_RESULT, report_password_result},
    {AAA_MSG_INTERFACE_CONTROL, report_interface_control},
    {AAA_MSG_LDAP_SEARCH_REQ, search_directory},
    {AAA_MSG_LDAP_SEARCH_RESULT, report_ldap_answer},
    {AAA_MSG_MOVE_OUT_DELETE_USER, move_out_user},
    {AAA_MSG_LOCAL_AUTHEN_REQ, authenticate_local_user},
    {AAA_MSG_LOCAL_AUTHOR_REQ, authorize_local_user},
    {AAA_MSG_LOCAL_CHANGE_PWD_REQ, change_local_password},
    {AAA_MSG_LOCAL_FS_GRANT, grant_files},
    {AAA_MSG_LOCAL_COPY_USER, fetch_local_user},
    {AAA_MSG_LOCAL_UPDATE_USER, update_local_user},
    {AAA_MSG_HEARTBEAT, answer_heartbeat},
};

}  // namespace

void answer(Backend& backend, const Request& request, const Respond& respond) {
  const auto own = backend.settings.answers.find(request.header.type);
  if (own != backend.settings.answers.end()) return respond(own->second(request));
  const auto* row = std::ranges::find(kAnswers, request.header.type, &Row::type);
  respond(row == std::end(kAnswers) ? Replies{} : row->answer(backend, request));
}

}  // namespace aaa_sim
