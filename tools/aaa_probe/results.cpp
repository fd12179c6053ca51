#include "results.h"

#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

#include "bytes.h"
#include "exchange.h"

namespace aaa_probe {
namespace {

// sub.num_a of a result. The library itself writes that the connection was lost.
enum Code : std::uint32_t { kAccepted = 0, kRejected = 1, kLost = 2, kChallenge = 3, kSilent = 4 };

std::mutex mutex;
std::condition_variable is_delivered;
// By session id; empty until the result is there.
std::map<std::uint32_t, std::optional<Answer>> waiting;

std::string copy_of(const aaa_item& item) {
  return std::string(view(item));
}

Answer copy_of(const result_info& result) {
  const result_info_sub& sub = result.sub;
  return {.code = sub.num_a,
          .session_id = sub.session_id,
          .user = std::string(view_of_member(sub.chars65_a, sizeof sub.chars65_a)),
          .message = copy_of(result.reply_message),
          .state = copy_of(result.state),
          .class_attribute = copy_of(result.class_),
          .eap_message = copy_of(result.eap_message),
          .nas_port_id = copy_of(result.nas_port_id),
          .chargeable_user_identity = copy_of(result.chargeable_user_identity),
          .vlan = std::string(view_of_member(sub.chars65_b, sizeof sub.chars65_b)),
          .session_timeout = sub.num_b,
          .idle_timeout = sub.num_c,
          .interim_interval = sub.num_d,
          .tunnel_type = sub.words4_a[0],
          .tunnel_medium_type = sub.words4_a[1]};
}

std::string name_of(std::uint32_t code) {
  switch (code) {
    case kAccepted:
      return "accepted";
    case kRejected:
      return "rejected";
    case kChallenge:
      return "challenge";
    case kSilent:
      return "no server answered";
    default:
      return "unknown code " + std::to_string(code);
  }
}

// An entry of `waiting`, from before the request is sent until the wait has ended.
class Wait {
 public:
  explicit Wait(std::uint32_t session_id) : session_id_(session_id) {
    const std::lock_guard lock(mutex);
    waiting[session_id_].reset();
  }
  ~Wait() {
    const std::lock_guard lock(mutex);
    waiting.erase(session_id_);
  }
  Wait(const Wait&) = delete;
  Wait& operator=(const Wait&) = delete;

  std::optional<Answer> answer_within(std::chrono::seconds limit) {
    std::unique_lock lock(mutex);
    const std::optional<Answer>& answer = waiting[session_id_];
    (void)is_delivered.wait_for(lock, limit, [&] { return answer.has_value(); });
    return answer;
  }

 private:
  const std::uint32_t session_id_;
};

}  // namespace

Status status_of(const Answer& answer) {
  switch (answer.code) {
    case kAccepted:
      return Status::accepted;
    case kChallenge:
      return Status::challenged;
    case kSilent:
      return Status::timed_out;
    default:
      return Status::rejected;
  }
}

Record record_of(const Answer& answer) {
  Record record = {{"result", name_of(answer.code)}, {"session", answer.session_id}};
  put_bytes(record, "user", answer.user);
  put_bytes(record, "message", answer.message);
  // Always in the form that --state takes.
  if (!answer.state.empty()) record["state"] = to_hex(answer.state);
  put_bytes(record, "class", answer.class_attribute);
  put_bytes(record, "eap_message", answer.eap_message);
  put_bytes(record, "nas_port_id", answer.nas_port_id);
  put_bytes(record, "chargeable_user_identity", answer.chargeable_user_identity);
  put_number(record, "session_timeout", answer.session_timeout);
  put_number(record, "idle_timeout", answer.idle_timeout);
  put_number(record, "interim_interval", answer.interim_interval);
  put_number(record, "tunnel_type", answer.tunnel_type);
  put_number(record, "tunnel_medium_type", answer.tunnel_medium_type);
  put_bytes(record, "vlan", answer.vlan);
  return record;
}

void deliver_result(result_info* result) {
  const std::lock_guard lock(mutex);
  const auto at = waiting.find(result->sub.session_id);
  if (at == waiting.end()) return;
  at->second = copy_of(*result);
  is_delivered.notify_all();
}

void fail_all_requests() {
  const std::lock_guard lock(mutex);
  for (auto& [session_id, answer] : waiting)
    if (!answer) answer = Answer{.code = kLost, .session_id = session_id};
  is_delivered.notify_all();
}

Answer ask(std::uint32_t session_id, std::uint32_t timeout,
           const std::function<std::int32_t()>& send) {
  Wait wait(session_id);
  const std::int32_t sent = send();
  if (sent != 0)
    throw Failure(Status::no_daemon,
                  std::string("the request was not sent: ") + std::strerror(-sent));
  const auto answer = wait.answer_within(std::chrono::seconds(timeout));
  if (!answer) {
    (void)aaa_clear_req_user(session_id);
    throw_timed_out(timeout);
  }
  if (answer->code == kLost) throw Failure(Status::no_daemon, "the connection to aaad was lost");
  return *answer;
}

}  // namespace aaa_probe
