#include "memory.h"

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

std::string describe_groups(const Memory& memory) {
  std::string text;
  for (const auto& [name, group] : memory.groups)
    text += "group " + name + list(std::array{group.w0, group.w1}) + "\n";
  for (const auto& [name, state] : memory.radius_group_states)
    text += "radius group " + name + " state " + std::to_string(state) + "\n";
  if (memory.radius_group_changes != 0)
    text += "radius group changes " + std::to_string(memory.radius_group_changes) + "\n";
  for (const std::int32_t verdict : memory.group_verdicts)
    text += "group verdict " + std::to_string(verdict) + "\n";
  return text;
}

std::string describe_users(const Memory& memory) {
  std::string text;
  for (const auto& [id, user] : memory.users)
    text += "user " + std::to_string(id) + " " + user.name() + list(user.words) + "\n";
  for (const DeletedUser& user : memory.deleted_users) {
    text += std::string(user.moved_out ? "moved out" : "deleted") + " user " +
            std::to_string(user.session_id) + " " + std::to_string(user.word) + "\n";
  }
  for (const std::uint32_t id : memory.cleared_sessions)
    text += "cleared session " + std::to_string(id) + "\n";
  for (const auto& [id, code] : memory.rare_results)
    text += "rare result " + std::to_string(id) + " code " + std::to_string(code) + "\n";
  return text;
}

std::string describe_exchanges(const Memory& memory) {
  std::string text;
  for (const RadextRequest& request : memory.radext_requests)
    text += "radext request" + list(std::array{request.num_a, request.num_b}) + " " +
            request.text_a + "\n";
  for (const auto& words : memory.radext_results)
    text += "radext result" + list(words) + "\n";
  for (const auto& [code, status] : memory.password_results)
    text += "password update " + std::to_string(code) + " status " + std::to_string(status) + "\n";
  for (const LdapAnswer& answer : memory.ldap_answers)
    text += describe(answer);
  return text;
}

std::string describe_statistics(const Memory& memory) {
  std::string text;
  for (const auto& words : memory.interface_controls)
    text += "interface control" + list(words) + "\n";
  for (const auto& words : memory.dot1x_statistics)
    text += "dot1x" + list(words) + "\n";
  for (const auto& bytes : memory.online_infos)
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

std::string describe(const Memory& memory) {
  return describe_groups(memory) + describe_users(memory) + describe_exchanges(memory) +
         describe_statistics(memory);
}

}  // namespace aaa_sim
