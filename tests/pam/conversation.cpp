#include "pam/conversation.h"

#include <cstdlib>
#include <cstring>

namespace pam_test {
namespace {

void release(pam_response* responses, int count) {
  for (int i = 0; i < count; ++i)
    std::free(responses[i].resp);
  std::free(responses);
}

}  // namespace

std::vector<std::string> Conversation::texts(int style) const {
  std::vector<std::string> result;
  for (const Shown& message : shown_) {
    if (message.style == style) result.push_back(message.text);
  }
  return result;
}

int Conversation::converse(int count, const pam_message** messages, pam_response** responses,
                           void* conversation) {
  auto* all = static_cast<pam_response*>(
      std::calloc(static_cast<std::size_t>(count), sizeof(pam_response)));
  for (int i = 0; i < count; ++i) {
    if (static_cast<Conversation*>(conversation)->answer(*messages[i], all[i])) continue;
    release(all, count);
    return PAM_CONV_ERR;
  }
  *responses = all;
  return PAM_SUCCESS;
}

bool Conversation::answer(const pam_message& message, pam_response& response) {
  shown_.push_back({message.msg_style, message.msg});
  if (when_shown_) when_shown_(shown_.back());
  if (message.msg_style == PAM_TEXT_INFO || message.msg_style == PAM_ERROR_MSG) return true;
  if (answers_.empty()) return false;
  response.resp = ::strdup(answers_.front().c_str());
  answers_.pop_front();
  return true;
}

}  // namespace pam_test
