#include "password_change.h"

#include <security/pam_ext.h>
#include <syslog.h>

#include <cstring>

#include "conversation.h"
#include "daemon.h"
#include "limits.h"
#include "user.h"
#include "username_lib.h"

namespace aaa_pam {
namespace {

// The answer to a change of password.
enum Answer { kDone = 0, kUnknownUser = 1, kWrongPassword = 2, kBadPassword = 3 };

// What the three texts of the request may have together.
constexpr std::size_t kMaxTexts = 168;

// What aaad's local user database says about a password.
Verdict check(const Daemon& daemon, const char* name, const char* password) {
  authen_info record{};
  record.session_id = daemon.new_session_id();
  if (record.session_id == 0) return Verdict::unavailable;
  (void)std::strncpy(record.chars65_a, name, kMaxName);
  record.user_password = {0, static_cast<std::uint16_t>(std::strlen(password)), password};
  return daemon.ask_local(record).verdict_for(record.session_id);
}

int check_old(const Call& call, const char* name, const char* password) {
  const Daemon daemon(call);
  if (!daemon.is_reached()) return PAM_AUTHINFO_UNAVAIL;
  switch (check(daemon, name, password)) {
    case Verdict::accepted:
      return PAM_SUCCESS;
    case Verdict::unavailable:
      return PAM_AUTHINFO_UNAVAIL;
    default:
      return PAM_AUTH_ERR;
  }
}

// An answer without a word, or of another type, reads as 0 too: the password is changed when the
// new one is right.
int confirm(const Call& call, const Daemon& daemon, const char* name, const char* new_password) {
  const Verdict verdict = check(daemon, name, new_password);
  if (verdict == Verdict::accepted) return PAM_SUCCESS;
  pam_syslog(call.handle, LOG_ERR, "the change of a password is not confirmed");
  return verdict == Verdict::unavailable ? PAM_AUTHINFO_UNAVAIL : PAM_AUTHTOK_ERR;
}

int exchange(const Call& call, const char* name, const char* old_password, const char* new_password,
             bool& is_allowed) {
  const Daemon daemon(call);
  if (!daemon.is_reached()) return PAM_AUTHINFO_UNAVAIL;
  switch (username_lib_chg_pwd(name, old_password, new_password)) {
    case kDone:
      return confirm(call, daemon, name, new_password);
    case kUnknownUser:
      return PAM_USER_UNKNOWN;
    case kWrongPassword:
      return PAM_AUTH_ERR;
    case kBadPassword:
      is_allowed = false;
      return PAM_AUTHTOK_ERR;
    default:
      pam_syslog(call.handle, LOG_ERR, "no answer to the change of a password");
      return PAM_AUTHINFO_UNAVAIL;
  }
}

// The user is told when the process is no longer registered.
int change(const Call& call, const char* name, const char* old_password, const char* new_password) {
  bool is_allowed = true;
  const int result = exchange(call, name, old_password, new_password, is_allowed);
  if (!is_allowed) show_error(call, "The new password is not allowed.");
  return result;
}

int prepare(const Call& call, const char* name, const char* old_password) {
  const std::size_t size = std::strlen(old_password);
  if (size == 0 || size > PAM_MAX_RESP_SIZE) return PAM_AUTH_ERR;
  const int result = check_old(call, name, old_password);
  return result == PAM_AUTHINFO_UNAVAIL ? PAM_TRY_AGAIN : result;
}

int update(const Call& call, const char* name, const char* old_password) {
  const char* new_password = nullptr;
  const int result = get_password(call, PAM_AUTHTOK, nullptr, &new_password);
  if (result != PAM_SUCCESS) return result;
  const std::size_t total =
      std::strlen(name) + std::strlen(old_password) + std::strlen(new_password);
  if (*new_password != '\0' && total <= kMaxTexts)
    return change(call, name, old_password, new_password);
  show_error(call, *new_password == '\0' ? "The new password is empty."
                                         : "Name and passwords together are too long.");
  return PAM_AUTHTOK_ERR;
}

}  // namespace

int change_password(const Call& call) {
  // aaad's passwords do not expire.
  if (call.has(PAM_CHANGE_EXPIRED_AUTHTOK)) return PAM_IGNORE;
  const char* name = nullptr;
  const char* old_password = nullptr;
  int result = get_user_name(call, &name);
  if (result == PAM_SUCCESS) result = get_password(call, PAM_OLDAUTHTOK, nullptr, &old_password);
  if (result != PAM_SUCCESS) return result;
  const bool is_check = call.has(PAM_PRELIM_CHECK);
  return is_check ? prepare(call, name, old_password) : update(call, name, old_password);
}

}  // namespace aaa_pam
