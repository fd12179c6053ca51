#include "backend/report_requests.h"

#include <algorithm>

#include "backend/results.h"
#include "wire/body.h"
#include "wire/records.h"

namespace aaa_sim {
namespace {

constexpr std::size_t kRestoreSize = 392;
constexpr std::size_t kRadextSent = 2784;  // the message lacks the last 4 bytes of the block
constexpr std::uint16_t kGroupName = 1;
constexpr std::uint16_t kGroupState = 2;

std::uint64_t wide(std::uint32_t high, std::uint32_t low) {
  return std::uint64_t{high} << 32 | low;
}

Replies remove_user(Backend& backend, const Request& request, bool moved_out) {
  const auto [session_id, word] = BodyReader(request.body).words<2>();
  backend.reports.users.erase(session_id);
  backend.reports.deleted_users.push_back({session_id, word, moved_out});
  return {};
}

Replies keep_record(Backend& backend, std::uint32_t session_id, const Request& request) {
  const View record = BodyReader(request.body).bytes(kRestoreSize);
  backend.reports.users[session_id].record = Bytes(record.begin(), record.end());
  return {};
}

}  // namespace

Replies report_rare_result(Backend& backend, const Request& request) {
  const ResultInfo result = decode_result(request.body);
  if (!result) throw BadBody("malformed result");
  backend.reports.rare_results[result->sub.session_id] = result->sub.num_a;
  return {};
}

Replies report_accounting(Backend& backend, const Request& request) {
  const AcctInfo record = decode_acct(request.body);
  if (!record) throw BadBody("malformed accounting request");
  auto& reports = backend.reports.acct_reports;
  reports.push_back({.session_id = record->session_id,
                     .kind = record->code_a,
                     .user = std::string(text_of(record->chars65_a)),
                     .seconds = record->num_b,
                     .octets_in = wide(record->num_f, record->num_c),
                     .octets_out = wide(record->num_g, record->num_d),
                     .terminate_cause = record->num_e});
  if (reports.size() > Reports::kMaxAcctReports) reports.pop_front();
  const std::uint32_t id = request.header.id;
  return {{Role::event, AAA_MSG_NOTIFY_RESULT, id, acceptance(id)}};
}

Replies delete_user(Backend& backend, const Request& request) {
  return remove_user(backend, request, false);
}

Replies move_out_user(Backend& backend, const Request& request) {
  return remove_user(backend, request, true);
}

Replies synchronise_user(Backend& backend, const Request& request) {
  const auto words = BodyReader(request.body).words<4>();
  backend.reports.users[words[1]].words = words;
  return {};
}

Replies restore_user(Backend& backend, const Request& request) {
  return keep_record(backend, BodyReader(request.body).word(), request);
}

Replies back_up_user(Backend& backend, const Request& request) {
  return keep_record(backend, request.header.id, request);
}

Replies register_group(Backend& backend, const Request& request) {
  BodyReader body(request.body);
  const auto [w0, w1] = body.words<2>();
  backend.reports.groups[body.last_text()] = {w0, w1};
  const std::uint32_t registered = 0;
  return {{Role::request, AAA_MSG_REGISTER_GROUP_RESP, 0, encode_words({&registered, 1})}};
}

Replies report_group_verdict(Backend& backend, const Request& request) {
  backend.reports.group_verdicts.push_back(
      static_cast<std::int32_t>(BodyReader(request.body).word()));
  return {};
}

Replies report_online_info(Backend& backend, const Request& request) {
  std::array<std::uint8_t, 8> info;
  std::ranges::copy(BodyReader(request.body).bytes(info.size()), info.begin());
  backend.reports.online_infos.push_back(info);
  return {};
}

Replies set_radius_group_state(Backend& backend, const Request& request) {
  std::string name;
  std::uint32_t state = 0;
  for (BodyReader body(request.body); body.left() > 0;) {
    const std::uint16_t type = body.short_word();
    BodyReader item(body.bytes(body.short_word()));
    if (type == kGroupName) name = item.last_text();
    if (type == kGroupState) state = item.word();
  }
  backend.reports.radius_group_states[name] = state;
  return {};
}

Replies report_radius_group_change(Backend& backend, const Request&) {
  ++backend.reports.radius_group_changes;
  return {};
}

Replies clear_user(Backend& backend, const Request& request) {
  backend.reports.cleared_sessions.push_back(BodyReader(request.body).network_word());
  return {};
}

Replies report_dot1x(Backend& backend, const Request& request) {
  backend.reports.dot1x_statistics.push_back(BodyReader(request.body).words<2>());
  return {};
}

Replies request_radext(Backend& backend, const Request& request) {
  const View sent = BodyReader(request.body).bytes(kRadextSent);
  Bytes block(sent.begin(), sent.end());
  block.resize(AAA_RADEXT_BLOCK_SIZE);
  radext_msg_info record{};
  aaa_parse_radext_msg_sub(block.data(), &record);
  backend.reports.radext_requests.push_back(
      {record.num_a, record.num_b, std::string(text_of(record.text_a))});
  const std::array<std::uint32_t, 6> result{record.num_a, record.num_b};
  return {{Role::event, AAA_MSG_ADD_RADEXT_RESULT, 0, encode_words(result)}};
}

Replies report_radext_result(Backend& backend, const Request& request) {
  backend.reports.radext_results.push_back(BodyReader(request.body).words<6>());
  return {};
}

Replies report_password_result(Backend& backend, const Request& request) {
  const auto [code, status] = BodyReader(request.body).words<2>();
  backend.reports.password_results[code] = status;
  return {};
}

Replies report_interface_control(Backend& backend, const Request& request) {
  backend.reports.interface_controls.push_back(BodyReader(request.body).words<3>());
  return {};
}

Replies report_ldap_answer(Backend& backend, const Request& request) {
  backend.reports.ldap_answers.push_back(decode_answer(request.body));
  return {};
}

}  // namespace aaa_sim
