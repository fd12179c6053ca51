#include "verdicts.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

namespace aaa_sim {
namespace {

constexpr const char* kDefaultRejection = "Access denied";

struct ReleaseAuthen {
  void operator()(authen_info* record) const { aaa_free_authen_info(record); }
};
using AuthenInfo = std::unique_ptr<authen_info, ReleaseAuthen>;

AuthenInfo decode_request(View body) {
  authen_info* record = nullptr;
  aaa_parse_authen_info(&record, body.data(), static_cast<std::int32_t>(body.size()));
  return AuthenInfo(record);
}

Bytes encode_result(result_info& record) {
  void* body = nullptr;
  const std::uint32_t length = aaa_encap_result_info(&record, &body);
  const auto* first = static_cast<const std::uint8_t*>(body);
  Bytes bytes(first, first + length);
  aaa_free(__LINE__, __func__, body);
  return bytes;
}

std::string_view text_of(const aaa_item& item) {
  return {static_cast<const char*>(item.value), item.len};
}

// The text stays the caller's.
aaa_item item_of(const std::string& text) {
  return {.type = 0, .len = static_cast<std::uint16_t>(text.size()), .value = text.data()};
}

result_info new_result(ResultCode code, std::uint32_t session_id) {
  result_info result{};
  result.sub.num_a = static_cast<std::uint32_t>(code);
  result.sub.session_id = session_id;
  return result;
}

ResultCode code_for(const User& user, const authen_info& request) {
  if (user.verdict == Verdict::reject) return ResultCode::reject;
  if (user.verdict == Verdict::challenge) {
    if (request.state.len == 0) return ResultCode::challenge;
    if (text_of(request.state) != user.state) return ResultCode::reject;
  }
  return text_of(request.user_password) == user.password ? ResultCode::accept : ResultCode::reject;
}

Bytes rejection(std::uint32_t session_id, const std::string& message) {
  result_info result = new_result(ResultCode::reject, session_id);
  const std::string text = message.empty() ? kDefaultRejection : message;
  result.reply_message = item_of(text);
  return encode_result(result);
}

Bytes result_for(const User& user, ResultCode code, std::uint32_t session_id) {
  if (code == ResultCode::reject) return rejection(session_id, user.reply_message);
  result_info result = new_result(code, session_id);
  std::strncpy(result.sub.chars65_a, user.name.c_str(), sizeof result.sub.chars65_a - 1);
  result.reply_message = item_of(user.reply_message);
  if (code == ResultCode::challenge) {
    result.state = item_of(user.state);
    result.eap_message = item_of(user.eap_message);
  } else {
    result.class_ = item_of(user.class_attribute);
    result.sub.num_b = user.session_timeout;
  }
  return encode_result(result);
}

}  // namespace

Bytes judge(const std::vector<User>& users, std::uint32_t session_id, View request_body) {
  const AuthenInfo request = decode_request(request_body);
  if (!request) return rejection(session_id, "Unreadable request");
  const std::string_view name(request->chars65_a,
                              strnlen(request->chars65_a, sizeof request->chars65_a));
  const auto user = std::ranges::find(users, name, &User::name);
  if (user == users.end()) return rejection(session_id, "Unknown user");
  return result_for(*user, code_for(*user, *request), session_id);
}

Bytes plain_acceptance(std::uint32_t session_id) {
  result_info result = new_result(ResultCode::accept, session_id);
  return encode_result(result);
}

}  // namespace aaa_sim
