#include "authorization.h"

#include <security/pam_ext.h>
#include <syslog.h>

#include "conversation.h"
#include "daemon.h"
#include "session.h"

namespace aaa_pam {
namespace {

Result ask(const Call& call, const Session& session) {
  const Daemon daemon(call);
  if (!daemon.is_reached()) return Result();
  author_info record{};
  record.session_id = session.id;
  return daemon.ask(record);
}

int result_of(Verdict verdict) {
  switch (verdict) {
    case Verdict::accepted:
      return PAM_SUCCESS;
    case Verdict::unavailable:
      return PAM_AUTHINFO_UNAVAIL;
    default:
      return PAM_PERM_DENIED;
  }
}

}  // namespace

int authorize(const Call& call) {
  const Session* const session = known_session(call);
  if (session == nullptr) {
    if (call.options.debug)
      pam_syslog(call.handle, LOG_DEBUG, "not authenticated here: no authorization");
    return PAM_IGNORE;
  }
  if (!is_of_current_user(call, *session)) {
    pam_syslog(call.handle, LOG_ERR, "session %08x is not that of the user who is asked about",
               session->id);
    return PAM_PERM_DENIED;
  }
  const Result result = ask(call, *session);
  const Verdict verdict = result.verdict_for(session->id);
  show_message(call, result, verdict);
  return result_of(verdict);
}

}  // namespace aaa_pam
