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
  if (!call.has(PAM_DELETE_CRED)) (void)take_session(call);
  return PAM_SUCCESS;
}

}  // namespace
}  // namespace aaa_pam

AAA_API int pam_sm_authenticate(pam_handle_t* pamh, int flags, int argc, const char** argv) {
  return aaa_pam::run(pamh, flags, argc, argv, aaa_pam::authenticate);
}

AAA_API int pam_sm_setcred(pam_handle_t* pamh, int flags, int argc, const char** argv) {
  return aaa_pam::run(pamh, flags, argc, argv, aaa_pam::set_credentials);
}

AAA_API int pam_sm_acct_mgmt(pam_handle_t* pamh, int flags, int argc, const char** argv) {
  return aaa_pam::run(pamh, flags, argc, argv, aaa_pam::authorize);
}

AAA_API int pam_sm_open_session(pam_handle_t* pamh, int flags, int argc, const char** argv) {
  return aaa_pam::run(pamh, flags, argc, argv, aaa_pam::open_session);
}

AAA_API int pam_sm_close_session(pam_handle_t* pamh, int flags, int argc, const char** argv) {
  return aaa_pam::run(pamh, flags, argc, argv, aaa_pam::close_session);
}

AAA_API int pam_sm_chauthtok(pam_handle_t* pamh, int flags, int argc, const char** argv) {
  return aaa_pam::run(pamh, flags, argc, argv, aaa_pam::change_password);
}
