// Texts for the user, and answers.
#pragma once

#include <string_view>

#include "call.h"
#include "result.h"
#include "secret.h"

namespace aaa_pam {

// Shows the message of an acceptance as information and that of a rejection as an error, unless the
// caller of PAM wants silence.
void show_message(const Call& call, const Result& result, Verdict verdict);
void show_error(const Call& call, const char* text);

// Asks for the answer to a challenge. Returns PAM_SUCCESS or PAM_CONV_ERR.
int ask_user(const Call& call, std::string_view question, bool echo, Secret& answer);

// Gets the password from an earlier module or from the user; `prompt` may be null. The text belongs
// to PAM. Returns PAM_SUCCESS, PAM_CONV_ERR, or another code that belongs to the password.
int get_password(const Call& call, int item, const char* prompt, const char** password);

}  // namespace aaa_pam
