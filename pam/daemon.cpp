#include "daemon.h"

#include <pthread.h>
#include <security/pam_ext.h>
#include <signal.h>
#include <syslog.h>
#include <unistd.h>

#include <cstring>

#include "directory.h"
#include "limits.h"
#include "result_waiter.h"
#include "username_lib.h"

namespace aaa_pam {
namespace {

// The library has one registration in a process, so threads of the host take turns.
pthread_mutex_t turn = PTHREAD_MUTEX_INITIALIZER;

// How long deregistering can take while aaad is away. Nothing is begun when no more is left.
constexpr std::uint32_t kLeaveSeconds = 2;

// A first attempt that takes longer met an aaad that accepts connections and does not answer.
constexpr std::uint32_t kPromptSeconds = 5;

constexpr useconds_t kPauseUs = 5000;
constexpr std::int32_t kRefusedId = 255;

// An atomic read, because the library's threads write the word.
bool aaad_refuses() {
  return __atomic_load_n(&g_aaa_client_cb.aaa_id, __ATOMIC_RELAXED) == kRefusedId;
}

bool lock_in_time(pthread_mutex_t& mutex, const Deadline& deadline) {
  bool is_locked;
  while (!(is_locked = ::pthread_mutex_trylock(&mutex) == 0) &&
         deadline.seconds_left() > kLeaveSeconds)
    (void)::usleep(kPauseUs);
  return is_locked;
}

// The library's threads start in its lifetime, and so take none of the host's signals.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    (void)::sigfillset(&all);
    (void)::pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { (void)::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

std::int32_t register_without_signals(const reg_info& info) {
  const SignalsBlocked blocked;
  return aaa_svr_reg(&info);
}

}  // namespace

Daemon::Daemon(const Call& call) : call_(call), deadline_(call.options.timeout) {
  is_reached_ =
      directory_is_usable(call) && take_turn() && start_registering() && wait_for_connection();
}

Daemon::~Daemon() {
  if (is_registered_) {
    if (deregister()) {
      (void)aaa_set_directory(nullptr);
      (void)aaa_set_aaad_uid(-1);
    }
  }
  library_log_.reset();
  if (has_turn_) ::pthread_mutex_unlock(&turn);
}

bool Daemon::take_turn() {
  has_turn_ = lock_in_time(turn, deadline_);
  if (!has_turn_)
    pam_syslog(call_.handle, LOG_ERR, "another thread is waiting for aaad, for %u seconds now",
               call_.options.timeout);
  return has_turn_;
}

// With the library's lock, so that no other thread of the host registers between the question and
// the registration. One that is registering holds it for longer than the module may take.
bool Daemon::start_registering() {
  if (!lock_in_time(aaa_lib_lock, deadline_)) {
    pam_syslog(call_.handle, LOG_ERR, "another thread of this process keeps the library busy");
    return false;
  }
  const bool is_started = register_now();
  ::pthread_mutex_unlock(&aaa_lib_lock);
  return is_started;
}

// A connection on which aaad cannot be told, or does not confirm, leaves the process registered.
// Without its sockets it can deregister. The settings stay when it cannot: it would go on
// connecting with others.
bool Daemon::deregister() const {
  if (aaa_svr_dereg() == 0) return true;
  ::pthread_mutex_lock(&aaa_lib_lock);
  (void)aaa_lib_client_close();
  const bool is_done = aaa_svr_dereg() == 0;
  ::pthread_mutex_unlock(&aaa_lib_lock);
  if (!is_done) pam_syslog(call_.handle, LOG_ERR, "the process cannot be deregistered");
  return is_done;
}

bool Daemon::register_now() {
  if (aaa_is_in_use() != 0) {
    pam_syslog(call_.handle, LOG_ERR,
               "this process is a client of aaad itself: the module leaves its registration alone");
    return false;
  }
  library_log_.emplace();
  (void)aaa_set_directory(call_.options.directory);
  (void)aaa_set_aaad_uid(call_.options.aaad_uid);
  reg_info info{};
  (void)std::strncpy(info.model_name, call_.options.model, kMaxModel);
  info.notify_result_cb = ResultWaiter::on_result;
  info.aaa_event_cb = ResultWaiter::on_event;
  is_registered_ = true;
  const Deadline prompt(kPromptSeconds);
  if (register_without_signals(info) != 0) {
    pam_syslog(call_.handle, LOG_ERR,
               "cannot register: security/aaa must belong to the process's user or the process to "
               "root, and memory, descriptors and threads must be left");
    return false;
  }
  return aaa_is_alive() != 0 || prompt.seconds_left() > 0 || give_up_silent_daemon();
}

// With the library's lock held: its next attempt, which a deregistration would have to wait for,
// does not begin.
bool Daemon::give_up_silent_daemon() {
  (void)deregister();
  pam_syslog(call_.handle, LOG_ERR, "aaad accepts connections and does not answer");
  return false;
}

bool Daemon::wait_for_connection() const {
  while (aaa_is_alive() == 0 && !aaad_refuses() && deadline_.seconds_left() > kLeaveSeconds)
    (void)::usleep(kPauseUs);
  if (aaa_is_alive() != 0 && deadline_.seconds_left() > 1) return true;
  if (aaa_is_alive() != 0) {
    pam_syslog(call_.handle, LOG_ERR, "no time is left to ask aaad");
    return false;
  }
  pam_syslog(call_.handle, LOG_ERR, aaad_refuses() ? "refused by aaad" : "aaad cannot be reached");
  return false;
}

// Not aaa_get_session_id(): its ids are shared with a process that the host has forked from.
std::uint32_t Daemon::new_session_id() const {
  constexpr std::uint32_t request[2] = {};
  aaa_ipc_header* const reply = aaalib_sr_ipc_msg(AAA_MSG_GET_SESSION_ID, request, sizeof request);
  std::uint32_t session_id = 0;
  if (reply != nullptr && reply->type == AAA_MSG_GET_SESSION_ID &&
      reply->length >= sizeof session_id)
    std::memcpy(&session_id, reply + 1, sizeof session_id);
  aaa_free(__LINE__, __func__, reply);
  if (session_id == 0) pam_syslog(call_.handle, LOG_ERR, "aaad grants no session id");
  return session_id;
}

template <class Record>
Result Daemon::ask(Record& record, std::int32_t (*submit)(Record*)) const {
  ResultWaiter waiter(record.session_id);
  const std::int32_t sent = submit(&record);
  if (sent != 0) {
    pam_syslog(call_.handle, LOG_ERR, "the request was not sent: error %d", static_cast<int>(sent));
    return Result();
  }
  Result result = waiter.wait(deadline_);
  if (!result.exists()) {
    pam_syslog(call_.handle, LOG_ERR, "no answer for session %08x: %s", record.session_id,
               aaa_is_alive() != 0 ? "time is over" : "the connection to aaad is lost");
    (void)aaa_clear_req_user(record.session_id);
  }
  return result;
}

template Result Daemon::ask(authen_info&, std::int32_t (*)(authen_info*)) const;
template Result Daemon::ask(author_info&, std::int32_t (*)(author_info*)) const;
template Result Daemon::ask(acct_info&, std::int32_t (*)(acct_info*)) const;

Result Daemon::ask_local(authen_info& authen) const {
  result_info* record = nullptr;
  if (username_lib_authen_req(&authen, &record) != 0) {
    pam_syslog(call_.handle, LOG_ERR, "no answer about a local user");
    return Result();
  }
  Result result(*record);
  wipe(*record);
  aaa_free_result_info(record);
  return result;
}

}  // namespace aaa_pam
