#include "login.h"

#include <security/pam_ext.h>
#include <syslog.h>

#include <algorithm>
#include <cstring>

#include "conversation.h"
#include "daemon.h"
#include "limits.h"
#include "secret.h"
#include "session.h"
#include "user.h"

namespace aaa_pam {
namespace {

// num_c and num_d of a login record.
constexpr std::uint32_t kVirtualPort = 5;
constexpr std::uint32_t kLoginService = 1;

constexpr int kMaxRequests = 8;

// libpam varies it, and waits only after a failure. Names and passwords for which nothing is sent
// look like others then.
constexpr unsigned kFailDelayUs = 2000000;

// What sshd sends, repeated up to the length of the password, for users that may not log in.
constexpr std::string_view kSshdMarker = "\b\n\r\177INCORRECT";

bool is_sshd_marker(std::string_view password) {
  for (std::size_t i = 0; i < password.size(); ++i) {
    if (password[i] != kSshdMarker[i % kSshdMarker.size()]) return false;
  }
  return true;
}

// Nothing is sent for others. An empty one would be a request without a password.
bool is_worth_asking(std::string_view password) {
  return !password.empty() && password.size() <= PAM_MAX_RESP_SIZE && !is_sshd_marker(password);
}

aaa_item item_of(std::string_view bytes) {
  return {0, static_cast<std::uint16_t>(bytes.size()), bytes.data()};
}

// One login, from the password to the decision.
class Login {
 public:
  Login(const Call& call, const char* name) : call_(call), name_(name) {
    (void)std::strncpy(session_.name, name, kMaxName);
  }

  int run(const char* password) {
    const int first = submit(password);
    if (first != kChallenged) return first;
    const int result = answer_challenges();
    if (has_open_challenge_) withdraw();
    // Without a decision, a stack that goes on to the next module would drop the second factor.
    return result == PAM_AUTHINFO_UNAVAIL ? PAM_AUTH_ERR : result;
  }

 private:
  // Beside the results of PAM.
  static constexpr int kChallenged = -1;

  int answer_challenges() {
    int result = kChallenged;
    for (int requests = 1; result == kChallenged; ++requests) {
      if (requests == kMaxRequests) return too_many();
      Secret answer;
      result = ask_user(call_, {question_.text(), question_.size()}, echo_, answer);
      if (result == PAM_SUCCESS) result = submit({answer.text(), answer.size()});
    }
    return result;
  }

  int submit(std::string_view password) {
    if (is_worth_asking(password)) {
      has_open_challenge_ = false;
      return request(password);
    }
    pam_syslog(call_.handle, LOG_NOTICE, "a password that is not sent");
    return PAM_AUTH_ERR;
  }

  // Each request is an exchange of its own: nothing is held while the user thinks.
  int request(std::string_view password) {
    Result result;
    {
      const Daemon daemon(call_);
      if (!daemon.is_reached()) return PAM_AUTHINFO_UNAVAIL;
      if (session_.id == 0) session_.id = daemon.new_session_id();
      if (session_.id == 0) return PAM_AUTHINFO_UNAVAIL;
      authen_info record = record_with(password);
      result = daemon.ask(record);
    }
    const Verdict verdict = result.verdict_for(session_.id);
    show_message(call_, result, verdict);
    return decide(verdict, result);
  }

  authen_info record_with(std::string_view password) const {
    authen_info record{};
    record.session_id = session_.id;
    record.num_c = kVirtualPort;
    record.num_d = kLoginService;
    (void)std::strncpy(record.chars65_a, name_, kMaxName);
    copy_item(call_, PAM_RHOST, record.octets128_a);
    copy_item(call_, PAM_TTY, record.octets100_a);
    record.user_password = item_of(password);
    record.state = item_of({state_.text(), state_.size()});
    return record;
  }

  int decide(Verdict verdict, const Result& result) {
    switch (verdict) {
      case Verdict::accepted:
        return accept(result);
      case Verdict::rejected:
        return PAM_AUTH_ERR;
      case Verdict::challenged:
        return remember_challenge(result);
      default:
        return PAM_AUTHINFO_UNAVAIL;
    }
  }

  int accept(const Result& result) {
    const std::string_view bytes = result.class_attribute();
    if (bytes.size() > kMaxClass) {
      pam_syslog(call_.handle, LOG_WARNING, "a Class of %zu bytes is not kept", bytes.size());
    } else {
      std::copy(bytes.begin(), bytes.end(), session_.class_bytes.begin());
      session_.class_size = static_cast<std::uint16_t>(bytes.size());
    }
    return keep_session(call_, session_);
  }

  int remember_challenge(const Result& result) {
    has_open_challenge_ = true;
    echo_ = result.echo().value_or(call_.options.challenge_echo);
    const std::string_view question = result.message();
    const std::string_view state = result.state();
    const bool has_memory = question_.assign(question.data(), question.size()) &&
                            state_.assign(state.data(), state.size());
    return has_memory ? kChallenged : PAM_BUF_ERR;
  }

  // aaad need not wait for an answer that does not come.
  void withdraw() const {
    const Daemon daemon(call_);
    if (daemon.is_reached()) (void)aaa_clear_req_user(session_.id);
  }

  int too_many() const {
    char name[kMaxName + 1];
    copy_printable(name_, name);
    pam_syslog(call_.handle, LOG_NOTICE, "%d challenges for \"%s\"", kMaxRequests, name);
    return PAM_MAXTRIES;
  }

  const Call& call_;
  const char* const name_;
  bool has_open_challenge_ = false;
  bool echo_ = false;
  Session session_;
  Secret question_;
  Secret state_;
};

}  // namespace

int authenticate(const Call& call) {
  forget_session(call);
  if (!call.options.nodelay) (void)pam_fail_delay(call.handle, kFailDelayUs);
  const char* name = nullptr;
  const char* password = nullptr;
  int result = get_user_name(call, &name);
  if (result == PAM_SUCCESS) result = get_password(call, PAM_AUTHTOK, nullptr, &password);
  return result == PAM_SUCCESS ? Login(call, name).run(password) : result;
}

}  // namespace aaa_pam
