#include "session.h"

#include <security/pam_ext.h>
#include <syslog.h>
#include <time.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include "session_text.h"

namespace aaa_pam {
namespace {

constexpr char kDataName[] = "pam_aaa_session";

void release(pam_handle_t*, void* data, int) {
  if (data != nullptr) static_cast<Session*>(data)->~Session();
  std::free(data);
}

int put_into_handle(const Call& call, const Session& session) {
  void* const memory = std::malloc(sizeof(Session));
  if (memory == nullptr) return PAM_BUF_ERR;
  auto* const copy = new (memory) Session(session);
  const int result = pam_set_data(call.handle, kDataName, copy, release);
  if (result != PAM_SUCCESS) release(call.handle, copy, 0);
  return result;
}

int put_into_environment(const Call& call, const Session& session) {
  SessionText text;
  write_session(session, text);
  const int result = pam_putenv(call.handle, text);
  ::explicit_bzero(text, sizeof text);
  return result;
}

void remove_from_environment(const Call& call) {
  if (pam_getenv(call.handle, kSessionVariable) != nullptr)
    (void)pam_putenv(call.handle, kSessionVariable);
}

// What another process has kept.
void adopt_from_environment(const Call& call) {
  const char* const value = pam_getenv(call.handle, kSessionVariable);
  if (value == nullptr) return;
  const Session* const kept = kept_session(call);
  Session session;
  if (!read_session(value, session)) {
    pam_syslog(call.handle, LOG_ERR, "%s of the PAM environment is not the module's",
               kSessionVariable);
  } else if (kept != nullptr && (kept->id == session.id || !is_of_current_user(call, session))) {
    return;
  } else if (put_into_handle(call, session) != PAM_SUCCESS) {
    pam_syslog(call.handle, LOG_CRIT, "no memory for session %08x", session.id);
  }
}

}  // namespace

std::int64_t seconds_now() {
  timespec now;
  (void)::clock_gettime(CLOCK_BOOTTIME, &now);
  return now.tv_sec;
}

bool is_of_current_user(const Call& call, const Session& session) {
  const void* name = nullptr;
  return pam_get_item(call.handle, PAM_USER, &name) == PAM_SUCCESS && name != nullptr &&
         std::strcmp(static_cast<const char*>(name), session.name) == 0;
}

int keep_session(const Call& call, const Session& session) {
  const int result = put_into_handle(call, session);
  return result == PAM_SUCCESS ? put_into_environment(call, session) : result;
}

Session* kept_session(const Call& call) {
  const void* data = nullptr;
  if (pam_get_data(call.handle, kDataName, &data) != PAM_SUCCESS) return nullptr;
  return const_cast<Session*>(static_cast<const Session*>(data));
}

Session* known_session(const Call& call) {
  adopt_from_environment(call);
  return kept_session(call);
}

Session* take_session(const Call& call) {
  Session* const session = known_session(call);
  remove_from_environment(call);
  return session;
}

void forget_session(const Call& call) {
  remove_from_environment(call);
  (void)pam_set_data(call.handle, kDataName, nullptr, nullptr);
}

}  // namespace aaa_pam
