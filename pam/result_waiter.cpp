#include "result_waiter.h"

#include <utility>

namespace aaa_pam {
namespace {

// Guards `current` and what it refers to.
pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
ResultWaiter* current = nullptr;

class Locked {
 public:
  Locked() { ::pthread_mutex_lock(&lock); }
  ~Locked() { ::pthread_mutex_unlock(&lock); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;
};

}  // namespace

ResultWaiter::ResultWaiter(std::uint32_t session_id) : session_id_(session_id) {
  pthread_condattr_t attributes;
  ::pthread_condattr_init(&attributes);
  ::pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
  ::pthread_cond_init(&changed_, &attributes);
  ::pthread_condattr_destroy(&attributes);
  const Locked locked;
  current = this;
}

ResultWaiter::~ResultWaiter() {
  {
    const Locked locked;
    current = nullptr;
  }
  ::pthread_cond_destroy(&changed_);
}

// A loss before this object was made raises no event any more.
Result ResultWaiter::wait(const Deadline& deadline) {
  const bool is_alive = aaa_is_alive() != 0;
  const Locked locked;
  while (is_alive && !has_result_ && !is_lost_ && deadline.seconds_left() > 0)
    ::pthread_cond_timedwait(&changed_, &lock, &deadline.time());
  return std::move(result_);
}

void ResultWaiter::on_result(result_info* record) {
  {
    const Locked locked;
    if (current != nullptr && record->sub.session_id == current->session_id_ &&
        !current->has_result_) {
      current->result_ = Result(*record);
      current->has_result_ = true;
      ::pthread_cond_signal(&current->changed_);
    }
  }
  wipe(*record);
}

int ResultWaiter::on_event(std::uint32_t event) {
  const Locked locked;
  if (event == AAA_EVENT_CONNECTION_LOST && current != nullptr) {
    current->is_lost_ = true;
    ::pthread_cond_signal(&current->changed_);
  }
  return 0;
}

}  // namespace aaa_pam
