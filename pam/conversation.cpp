#include "conversation.h"

#include <security/pam_ext.h>
#include <syslog.h>

namespace aaa_pam {
namespace {

constexpr std::string_view kDefaultQuestion = "Response: ";

void show(const Call& call, int style, std::string_view text) {
  if (text.empty() || call.has(PAM_SILENT)) return;
  (void)pam_prompt(call.handle, style, nullptr, "%.*s", static_cast<int>(text.size()), text.data());
}

}  // namespace

void show_message(const Call& call, const Result& result, Verdict verdict) {
  if (verdict == Verdict::accepted) show(call, PAM_TEXT_INFO, result.message());
  if (verdict == Verdict::rejected) show(call, PAM_ERROR_MSG, result.message());
}

void show_error(const Call& call, const char* text) {
  show(call, PAM_ERROR_MSG, text);
}

int ask_user(const Call& call, std::string_view question, bool echo, Secret& answer) {
  if (question.empty()) question = kDefaultQuestion;
  const int style = echo ? PAM_PROMPT_ECHO_ON : PAM_PROMPT_ECHO_OFF;
  char* text = nullptr;
  const int result = pam_prompt(call.handle, style, &text, "%.*s",
                                static_cast<int>(question.size()), question.data());
  answer.adopt(text);
  if (result == PAM_SUCCESS && text != nullptr) return PAM_SUCCESS;
  pam_syslog(call.handle, LOG_ERR, "the user could not be asked: %s",
             pam_strerror(call.handle, result));
  return PAM_CONV_ERR;
}

int get_password(const Call& call, int item, const char* prompt, const char** password) {
  const int result = pam_get_authtok(call.handle, item, password, prompt);
  if (result == PAM_SUCCESS && *password != nullptr) return PAM_SUCCESS;
  // PAM_AUTH_ERR: use_first_pass without a password. PAM_TRY_AGAIN: the new one was typed
  // differently. For all that goes wrong in a conversation libpam has several codes.
  if (result == PAM_AUTH_ERR || result == PAM_TRY_AGAIN || result == PAM_BUF_ERR) return result;
  pam_syslog(call.handle, LOG_ERR, "no password: %s", pam_strerror(call.handle, result));
  return PAM_CONV_ERR;
}

}  // namespace aaa_pam
