// The six functions that PAM calls.
#include "accounting.h"
#include "authorization.h"
#include "call.h"
#include "login.h"
#include "password_change.h"
#include "session.h"

namespace aaa_pam {
namespace {

int run(pam_handle_t* handle, int flags, int count, const char** arguments,
        int (*action)(const Call&)) {
  Call call{handle, flags, {}};
  if (!parse_options(handle, count, arguments, call.options)) return PAM_SERVICE_ERR;
  return action(call);
}

// There are no credentials; but this is the first call after a login in another process, and the
// only one if the configuration has no session line.
int set_credentials(const Call& call) {
  if ((call.flags & PAM_DELETE_CRED) == 0) (void)take_session(call);
  return PAM_SUCCESS;
}

}  // namespace
}  // namespace aaa_pam

AAA_API int pam_sm_authenticate(pam_handle_t* handle, int flags, int count,
                                const char** arguments) {
  return aaa_pam::run(handle, flags, count, arguments, aaa_pam::authenticate);
}

AAA_API int pam_sm_setcred(pam_handle_t* handle, int flags, int count, const char** arguments) {
  return aaa_pam::run(handle, flags, count, arguments, aaa_pam::set_credentials);
}

AAA_API int pam_sm_acct_mgmt(pam_handle_t* handle, int flags, int count, const char** arguments) {
  return aaa_pam::run(handle, flags, count, arguments, aaa_pam::authorize);
}

AAA_API int pam_sm_open_session(pam_handle_t* handle, int flags, int count,
                                const char** arguments) {
  return aaa_pam::run(handle, flags, count, arguments, aaa_pam::open_session);
}

AAA_API int pam_sm_close_session(pam_handle_t* handle, int flags, int count,
                                 const char** arguments) {
  return aaa_pam::run(handle, flags, count, arguments, aaa_pam::close_session);
}

AAA_API int pam_sm_chauthtok(pam_handle_t* handle, int flags, int count, const char** arguments) {
  return aaa_pam::run(handle, flags, count, arguments, aaa_pam::change_password);
}
