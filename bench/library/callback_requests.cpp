#include "library/callback_requests.h"

#include <semaphore.h>

#include <stdexcept>

#include "support/records.h"

namespace bench {
namespace {

sem_t answered;

void note_result(result_info*) {
  sem_post(&answered);
}

}  // namespace

CallbackRequests::CallbackRequests(std::size_t body_length)
    : request_(typical_request(body_length)) {
  sem_init(&answered, 0, 0);
}

reg_info CallbackRequests::registration() {
  reg_info info = {};
  info.notify_result_cb = note_result;
  return info;
}

void CallbackRequests::send_and_wait() {
  if (aaa_user_req_authen(&request_) != 0) throw std::runtime_error("not sent");
  sem_wait(&answered);
}

}  // namespace bench
