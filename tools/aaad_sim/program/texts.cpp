#include "program/texts.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

namespace aaa_sim {
namespace {

template <typename Value>
struct Name {
  std::string_view text;
  Value value;
};

constexpr Name<Role> kRoles[] = {{"request", Role::request}, {"event", Role::event}};

constexpr Name<Fault> kFaults[] = {
    {"none", Fault::none},
    {"silent", Fault::silent},
    {"wrong-type", Fault::wrong_type},
    {"empty-body", Fault::empty_body},
    {"short-body", Fault::short_body},
    {"close", Fault::close},
    {"close-after", Fault::close_after},
};

constexpr Name<std::uint32_t aaa_status::*> kStatusWords[] = {
    {"new_model", &aaa_status::new_model},
    {"acct_period", &aaa_status::acct_period},
    {"acct_status", &aaa_status::acct_status},
    {"debug", &aaa_status::debug},
    {"debug_msg_limit", &aaa_status::debug_msg_limit},
    {"pro_status", &aaa_status::pro_status},
    {"local_user_public_account", &aaa_status::local_user_public_account},
    {"acct_start_fail_policy", &aaa_status::acct_start_fail_policy},
    {"login_service_check_mode", &aaa_status::login_service_check_mode},
    {"aaa_id_limit", &aaa_status::aaa_id_limit},
};

template <typename Value, std::size_t count>
std::optional<Value> look_up(const Name<Value> (&names)[count], std::string_view text) {
  const auto* found = std::ranges::find(names, text, &Name<Value>::text);
  if (found == std::end(names)) return std::nullopt;
  return found->value;
}

template <typename Number>
std::optional<Number> parse_digits(std::string_view digits, int base) {
  Number number{};
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number, base);
  if (error != std::errc{} || stop != end) return std::nullopt;
  return number;
}

constexpr std::uint32_t kLastNamedType = AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT;
constexpr std::uint32_t kTypeWithoutName = AAA_MSG_USER_PWD_UPDATE_RESULT;

std::string dashed_name(std::uint32_t type) {
  std::string name = aaa_ipc_get_msg_type_str(type);
  std::ranges::replace(name, ' ', '-');
  return name;
}

// The parts before and after the first `at`.
std::pair<std::string_view, std::string_view> split(std::string_view text, char at) {
  const std::size_t position = text.find(at);
  if (position == std::string_view::npos) return {text, ""};
  return {text.substr(0, position), text.substr(position + 1)};
}

}  // namespace

std::optional<std::uint32_t> parse_number(std::string_view text) {
  if (text.starts_with("0x")) return parse_digits<std::uint32_t>(text.substr(2), 16);
  return parse_digits<std::uint32_t>(text, 10);
}

std::optional<Bytes> parse_hex(std::string_view text) {
  if (text.size() % 2 != 0) return std::nullopt;
  Bytes bytes;
  for (std::size_t at = 0; at < text.size(); at += 2) {
    const auto byte = parse_digits<std::uint8_t>(text.substr(at, 2), 16);
    if (!byte) return std::nullopt;
    bytes.push_back(*byte);
  }
  return bytes;
}

std::optional<std::uint32_t> parse_message_type(std::string_view text) {
  if (const auto number = parse_number(text)) return number;
  if (text == dashed_name(kTypeWithoutName)) return std::nullopt;
  for (std::uint32_t type = kLastNamedType; type > 0; --type) {
    if (text == dashed_name(type)) return type;
  }
  return std::nullopt;
}

std::optional<MethodList> parse_method_list(std::string_view text) {
  const auto [kind, rest] = split(text, ':');
  const auto [name, state] = split(rest, '=');
  const auto parsed_kind = parse_number(kind);
  const auto parsed_state = parse_number(state);
  if (!parsed_kind || !parsed_state || name.empty()) return std::nullopt;
  return MethodList{*parsed_kind, std::string(name), *parsed_state};
}

std::optional<LocalUser> parse_local_user(std::string_view text) {
  const auto [name, password] = split(text, ':');
  if (name.empty() || name.size() > kMaxLocalUserName) return std::nullopt;
  if (password.empty() || password.size() > kMaxLocalPassword) return std::nullopt;
  return LocalUser{.name = std::string(name), .string_19 = std::string(password)};
}

std::optional<Role> parse_role(std::string_view text) {
  return look_up(kRoles, text);
}

std::optional<Fault> parse_fault(std::string_view text) {
  return look_up(kFaults, text);
}

std::uint32_t* status_word(aaa_status& status, std::string_view name) {
  if (const auto member = look_up(kStatusWords, name)) return &(status.**member);
  const auto number = parse_number(name);
  if (!number || *number >= std::size(kStatusWords)) return nullptr;
  return &(status.*kStatusWords[*number].value);
}

}  // namespace aaa_sim
