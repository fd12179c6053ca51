#include "backend/reports.h"

#include <algorithm>

namespace aaa_sim {
namespace {

template <typename Word, std::size_t count>
std::string list(const std::array<Word, count>& words) {
  std::string text;
  for (const Word word : words)
    text += " " + std::to_string(word);
  return text;
}

std::string describe(const LdapAnswer& answer) {
  std::string text = "ldap answer " + std::to_string(answer.session_id) + " code " +
                     std::to_string(answer.code) + "\n";
  for (const LdapEntry& entry : answer.entries)
    text += "ldap entry " + entry.dn + "\n";
  return text;
}

std::string describe_groups(const Reports& reports) {
  std::string text;
  for (const auto& [name, group] : reports.groups)
    text += "group " + name + list(std::array{group.w0, group.w1}) + "\n";
  for (const auto& [name, state] : reports.radius_group_states)
    text += "radius group " + name + " state " + std::to_string(state) + "\n";
  if (reports.radius_group_changes != 0)
    text += "radius group changes " + std::to_string(reports.radius_group_changes) + "\n";
  for (const std::int32_t verdict : reports.group_verdicts)
    text += "group verdict " + std::to_string(verdict) + "\n";
  return text;
}

std::string describe_users(const Reports& reports) {
  std::string text;
  for (const auto& [id, user] : reports.users)
    text += "user " + std::to_string(id) + " " + user.name() + list(user.words) + "\n";
  for (const DeletedUser& user : reports.deleted_users) {
    text += std::string(user.moved_out ? "moved out" : "deleted") + " user " +
            std::to_string(user.session_id) + " " + std::to_string(user.word) + "\n";
  }
  for (const std::uint32_t id : reports.cleared_sessions)
    text += "cleared session " + std::to_string(id) + "\n";
  for (const auto& [id, code] : reports.rare_results)
    text += "rare result " + std::to_string(id) + " code " + std::to_string(code) + "\n";
  return text;
}

std::string describe_exchanges(const Reports& reports) {
  std::string text;
  for (const RadextRequest& request : reports.radext_requests)
    text += "radext request" + list(std::array{request.num_a, request.num_b}) + " " +
            request.text_a + "\n";
  for (const auto& words : reports.radext_results)
    text += "radext result" + list(words) + "\n";
  for (const auto& [code, status] : reports.password_results)
    text += "password update " + std::to_string(code) + " status " + std::to_string(status) + "\n";
  for (const LdapAnswer& answer : reports.ldap_answers)
    text += describe(answer);
  return text;
}

std::string describe(const AcctReport& report) {
  const bool is_start = report.kind == 1;
  const std::string kind = is_start ? "start" : report.kind == 2 ? "stop" : "interim";
  std::string text = "accounting " + kind + " session " + std::to_string(report.session_id) +
                     " user " + report.user;
  if (!is_start) {
    text += " seconds " + std::to_string(report.seconds) + " in " +
            std::to_string(report.octets_in) + " out " + std::to_string(report.octets_out);
  }
  if (report.kind == 2) text += " cause " + std::to_string(report.terminate_cause);
  return text + "\n";
}

std::string describe_acct_reports(const Reports& reports) {
  std::string text;
  for (const AcctReport& report : reports.acct_reports)
    text += describe(report);
  return text;
}

std::string describe_statistics(const Reports& reports) {
  std::string text;
  for (const auto& words : reports.interface_controls)
    text += "interface control" + list(words) + "\n";
  for (const auto& words : reports.dot1x_statistics)
    text += "dot1x" + list(words) + "\n";
  for (const auto& bytes : reports.online_infos)
    text += "online info" + list(bytes) + "\n";
  return text;
}

}  // namespace

std::string KnownUser::name() const {
  constexpr std::size_t at = 16;
  constexpr std::size_t size = 253;
  if (record.size() < at + size) return "-";
  const View text = View(record).subspan(at, size);
  return {text.begin(), std::ranges::find(text, std::uint8_t{0})};
}

std::string describe(const Reports& reports) {
  return describe_groups(reports) + describe_users(reports) + describe_exchanges(reports) +
         describe_acct_reports(reports) + describe_statistics(reports) +
         radius::describe(reports.radius);
}

}  // namespace aaa_sim
