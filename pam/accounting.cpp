#include "accounting.h"

#include <security/pam_ext.h>
#include <syslog.h>

#include <algorithm>
#include <cstring>

#include "daemon.h"
#include "limits.h"
#include "session.h"
#include "user.h"

namespace aaa_pam {
namespace {

constexpr std::uint32_t kStart = 1;
constexpr std::uint32_t kStop = 2;
constexpr std::uint32_t kUserRequest = 1;  // the terminate cause

acct_info record_of(const Call& call, const Session& session) {
  acct_info record{};
  record.session_id = session.id;
  std::memcpy(record.chars65_a, session.name, sizeof session.name);
  copy_item(call, PAM_RHOST, record.octets128_a);
  copy_item(call, PAM_TTY, record.octets100_a);
  record.class_ = {0, session.class_size, session.class_bytes.data()};
  return record;
}

std::uint32_t seconds_since(std::int64_t start) {
  return static_cast<std::uint32_t>(std::clamp<std::int64_t>(seconds_now() - start, 0, UINT32_MAX));
}

bool send(const Call& call, acct_info& record) {
  const Daemon daemon(call);
  return daemon.is_reached() &&
         daemon.ask(record).verdict_for(record.session_id) == Verdict::accepted;
}

bool report(const Call& call, const Session& session, std::uint32_t kind) {
  acct_info record = record_of(call, session);
  record.code_a = kind;
  if (kind == kStop) {
    record.num_b = seconds_since(session.start);
    record.num_e = kUserRequest;
  }
  return send(call, record);
}

int outcome(const Call& call, const Session& session, const char* what, bool is_taken) {
  if (is_taken) {
    if (call.options.debug)
      pam_syslog(call.handle, LOG_DEBUG, "%s of session %08x reported", what, session.id);
    return PAM_SUCCESS;
  }
  pam_syslog(call.handle, LOG_ERR, "the %s of session %08x was not reported", what, session.id);
  return call.options.require_accounting ? PAM_SESSION_ERR : PAM_SUCCESS;
}

}  // namespace

int open_session(const Call& call) {
  Session* const session = take_session(call);
  if (session == nullptr) return PAM_SUCCESS;
  session->start = seconds_now();
  session->is_open = true;
  return outcome(call, *session, "start", report(call, *session, kStart));
}

int close_session(const Call& call) {
  Session* const session = kept_session(call);
  if (session == nullptr || !session->is_open) return PAM_SUCCESS;
  session->is_open = false;
  return outcome(call, *session, "stop", report(call, *session, kStop));
}

}  // namespace aaa_pam
