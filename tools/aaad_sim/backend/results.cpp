#include "backend/results.h"

#include <algorithm>

#include "wire/records.h"

namespace aaa_sim {
namespace {

constexpr const char* kDefaultRejection = "Access denied";

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

Bytes result_for(const User& user, ResultCode code, std::uint32_t session_id) {
  if (code == ResultCode::reject) return rejection(session_id, user.reply_message);
  result_info result = new_result(code, session_id);
  set_text(result.sub.chars65_a, user.name);
  result.reply_message = item_of(user.reply_message);
  if (code == ResultCode::challenge) {
    result.state = item_of(user.state);
    result.eap_message = item_of(user.eap_message);
  } else {
    result.class_ = item_of(user.class_attribute);
    result.sub.num_b = user.session_timeout;
  }
  return encode(result);
}

}  // namespace

Bytes authentication_result(const std::vector<User>& users, std::uint32_t session_id,
                            View request_body) {
  const AuthenInfo request = decode_authen(request_body);
  if (!request) return rejection(session_id, "Unreadable request");
  const auto user = std::ranges::find(users, text_of(request->chars65_a), &User::name);
  if (user == users.end()) return rejection(session_id, "Unknown user");
  return result_for(*user, code_for(*user, *request), session_id);
}

Bytes acceptance(std::uint32_t session_id, const std::string& user) {
  result_info result = new_result(ResultCode::accept, session_id);
  set_text(result.sub.chars65_a, user);
  return encode(result);
}

Bytes rejection(std::uint32_t session_id, const std::string& message) {
  result_info result = new_result(ResultCode::reject, session_id);
  const std::string text = message.empty() ? kDefaultRejection : message;
  result.reply_message = item_of(text);
  return encode(result);
}

}  // namespace aaa_sim
