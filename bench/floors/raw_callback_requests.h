// Requests on one socket whose answers come on a second one, read by a thread that calls back.
#pragma once

#include <semaphore.h>

#include "floors/receiver.h"
#include "floors/two_sockets.h"
#include "support/records.h"

namespace bench {

class RawCallbackRequests {
 public:
  RawCallbackRequests(const TwoSockets& sockets, std::size_t body_length, std::size_t reads)
      : request_(blank_frame(AAA_MSG_AUTHEN_REQ, body_length)), request_socket_(sockets.request) {
    sem_init(&answered_, 0, 0);
    start_receiver(sockets.event, reads,
                   [this](const std::uint8_t*, std::size_t) { sem_post(&answered_); });
  }
  RawCallbackRequests(const RawCallbackRequests&) = delete;
  RawCallbackRequests& operator=(const RawCallbackRequests&) = delete;

  void send_and_wait() {
    send_all(request_socket_, request_.data(), request_.size());
    sem_wait(&answered_);
  }

 private:
  Bytes request_;
  int request_socket_;
  sem_t answered_;
};

}  // namespace bench
