#include "answers.h"

#include <algorithm>
#include <array>

#include "local_user_requests.h"
#include "questions.h"
#include "remembered.h"
#include "verdicts.h"

namespace aaa_sim {
namespace {

Replies answer_registration(World& world, const Request& request) {
  if (request.role == Role::request)
    return {{Role::request, AAA_MSG_REGISTER_RESP, 0,
             encode_words(std::span(&world.settings.aaa_id, 1))}};
  return {{Role::event, AAA_MSG_AAA_INFO_READY, 0, encode_status(world.settings.status)}};
}

Replies answer_deregistration(World&, const Request&) {
  return {{Role::request, AAA_MSG_DEREGISTER_RESP, 0, {}}};
}

// Blocks follow each other, whoever asks, so that no id is granted twice.
Replies grant_session_ids(World& world, const Request&) {
  Settings& settings = world.settings;
  const std::array<std::uint32_t, 2> block{settings.next_session_id, settings.session_ids};
  if (settings.next_session_id != 0)
    settings.next_session_id += std::max<std::uint32_t>(settings.session_ids, 1);
  return {{Role::request, AAA_MSG_GET_SESSION_ID, 0, encode_words(block)}};
}

Replies answer_authentication(World& world, const Request& request) {
  const std::uint32_t id = request.header.id;
  return {{Role::event, AAA_MSG_NOTIFY_RESULT, id, judge(world.settings.users, id, request.body)}};
}

Replies accept(World&, const Request& request) {
  const std::uint32_t id = request.header.id;
  return {{Role::event, AAA_MSG_NOTIFY_RESULT, id, acceptance(id)}};
}

Replies answer_heartbeat(World& world, const Request&) {
  if (!world.settings.answer_heartbeats) return {};
  return {{Role::event, AAA_MSG_HEARTBEAT, 0, {}}};
}

struct Row {
  std::uint32_t type;
  Replies (*answer)(World&, const Request&);
};

constexpr Row kAnswers[] = {
    {AAA_MSG_REGISTER_REQ, answer_registration},
    {AAA_MSG_DEREGISTER_REQ, answer_deregistration},
    {AAA_MSG_GET_SESSION_ID, grant_session_ids},
    {AAA_MSG_SEND_RARE_RESULT, remember_rare_result},
    {AAA_MSG_AUTHEN_REQ, answer_authentication},
    {AAA_MSG_AUTHOR_REQ, accept},
    {AAA_MSG_ACCT_REQ, accept},
    {AAA_MSG_DELETE_USER, delete_user},
    {AAA_MSG_QUERY_MLIST_EXIST, look_for_method_list},
    {AAA_MSG_USER_SYNC, synchronise_user},
    {AAA_MSG_RESTORE_USER, restore_user},
    {AAA_MSG_SERVER_MIB, tell_server_statistic},
    {AAA_MSG_REGISTER_GROUP, register_group},
    {AAA_MSG_GS_VALID_RESP, remember_group_verdict},
    {AAA_MSG_RDS_ONLINE_INFO_RESP, remember_online_info},
    {AAA_MSG_SET_RADIUS_GROUP_STATE, set_radius_group_state},
    {AAA_MSG_RADIUS_GROUP_STATE_CHANGE, count_radius_group_change},
    {AAA_MSG_QUERY_AUTHEN_MLIST_STATE, tell_method_list_state},
    {AAA_MSG_CLEAR_USER, clear_user},
    {AAA_MSG_HOT_BACKUP_USER_SYNC, back_up_user},
    {AAA_MSG_DOT1X_MIB, remember_dot1x},
    {AAA_MSG_LOCAL_QUERY_PWD, judge_password},
    {AAA_MSG_RADEXT_REQ, take_radext_request},
    {AAA_MSG_RADEXT_ADD_RESULT, remember_radext_result},
    {AAA_MSG_UPDATE_USER_PWD_REQ, update_password},
    {AAA_MSG_USER_PWD_UPDATE_RESULT, remember_password_result},
    {AAA_MSG_INTERFACE_CONTROL, remember_interface_control},
    {AAA_MSG_LDAP_SEARCH_REQ, search_directory},
    {AAA_MSG_LDAP_SEARCH_RESULT, remember_ldap_answer},
    {AAA_MSG_MOVE_OUT_DELETE_USER, move_out_user},
    {AAA_MSG_LOCAL_AUTHEN_REQ, authenticate_local_user},
    {AAA_MSG_LOCAL_AUTHOR_REQ, authorize_local_user},
    {AAA_MSG_LOCAL_CHANGE_PWD_REQ, change_local_password},
    {AAA_MSG_LOCAL_FS_GRANT, grant_files},
    {AAA_MSG_LOCAL_COPY_USER, fetch_local_user},
    {AAA_MSG_LOCAL_UPDATE_USER, update_local_user},
    {AAA_MSG_HEARTBEAT, answer_heartbeat},
};

std::uint32_t wrong_type(std::uint32_t right) {
  return right == AAA_MSG_NOTIFY_RESULT ? AAA_MSG_DEREGISTER_RESP : AAA_MSG_NOTIFY_RESULT;
}

void spoil_reply(Fault fault, Reply& reply) {
  switch (fault) {
    case Fault::wrong_type:
      reply.type = wrong_type(reply.type);
      break;
    case Fault::empty_body:
      reply.body.clear();
      break;
    case Fault::short_body:
      reply.body.resize(reply.body.size() / 2);
      break;
    default:
      break;
  }
}

}  // namespace

Replies answer(World& world, const Request& request) {
  const auto own = world.settings.answers.find(request.header.type);
  if (own != world.settings.answers.end()) return own->second(request);
  const auto* row = std::ranges::find(kAnswers, request.header.type, &Row::type);
  return row == std::end(kAnswers) ? Replies{} : row->answer(world, request);
}

Registration parse_registration(View body) {
  // Role, at least one character of the name, NUL.
  if (body.size() < 3 || body.back() != 0) return {};
  const auto role = static_cast<Role>(body.front());
  if (role != Role::request && role != Role::event) return {};
  return {role, std::string(body.begin() + 1, body.end() - 1)};
}

Outcome spoil(Fault fault, Replies replies) {
  if (fault == Fault::silent) return {};
  if (fault == Fault::close) return {{}, true};
  for (Reply& reply : replies)
    spoil_reply(fault, reply);
  return {std::move(replies), fault == Fault::close_after};
}

}  // namespace aaa_sim
