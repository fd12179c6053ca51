#include "answers.h"

#include <algorithm>
#include <array>

#include "verdicts.h"

namespace aaa_sim {
namespace {

Replies answer_registration(Settings& settings, const Request& request) {
  if (request.role == Role::request)
    return {
        {Role::request, AAA_MSG_REGISTER_RESP, 0, encode_words(std::span(&settings.aaa_id, 1))}};
  return {{Role::event, AAA_MSG_AAA_INFO_READY, 0, encode_status(settings.status)}};
}

Replies answer_deregistration(Settings&, const Request&) {
  return {{Role::request, AAA_MSG_DEREGISTER_RESP, 0, {}}};
}

// Blocks follow each other, whoever asks, so that no id is granted twice.
Replies grant_session_ids(Settings& settings, const Request&) {
  const std::array<std::uint32_t, 2> block{settings.next_session_id, settings.session_ids};
  if (settings.next_session_id != 0)
    settings.next_session_id += std::max<std::uint32_t>(settings.session_ids, 1);
  return {{Role::request, AAA_MSG_GET_SESSION_ID, 0, encode_words(block)}};
}

Replies answer_authentication(Settings& settings, const Request& request) {
  const std::uint32_t id = request.header.id;
  return {{Role::event, AAA_MSG_NOTIFY_RESULT, id, judge(settings.users, id, request.body)}};
}

Replies accept(Settings&, const Request& request) {
  const std::uint32_t id = request.header.id;
  return {{Role::event, AAA_MSG_NOTIFY_RESULT, id, plain_acceptance(id)}};
}

Replies answer_heartbeat(Settings& settings, const Request&) {
  if (!settings.answer_heartbeats) return {};
  return {{Role::event, AAA_MSG_HEARTBEAT, 0, {}}};
}

struct Row {
  std::uint32_t type;
  Replies (*answer)(Settings&, const Request&);
};

constexpr Row kAnswers[] = {
    {AAA_MSG_REGISTER_REQ, answer_registration},
    {AAA_MSG_DEREGISTER_REQ, answer_deregistration},
    {AAA_MSG_GET_SESSION_ID, grant_session_ids},
    {AAA_MSG_AUTHEN_REQ, answer_authentication},
    {AAA_MSG_AUTHOR_REQ, accept},
    {AAA_MSG_ACCT_REQ, accept},
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

Replies answer(Settings& settings, const Request& request) {
  const auto own = settings.answers.find(request.header.type);
  if (own != settings.answers.end()) return own->second(request);
  const auto* row = std::ranges::find(kAnswers, request.header.type, &Row::type);
  return row == std::end(kAnswers) ? Replies{} : row->answer(settings, request);
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
