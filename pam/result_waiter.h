// The result that a call waits for. It comes in a callback: the sockets through which
// aaa_user_get_result() gets its results are shared with a process that the host has forked from,
// and can be reached by others while they are made.
#pragma once

#include <pthread.h>

#include <cstdint>

#include "aaa_client.h"
#include "deadline.h"
#include "result.h"

namespace aaa_pam {

// There is one at a time. Made before the request is sent.
class ResultWaiter {
 public:
  explicit ResultWaiter(std::uint32_t session_id);
  ~ResultWaiter();
  ResultWaiter(const ResultWaiter&) = delete;
  ResultWaiter& operator=(const ResultWaiter&) = delete;

  // None when the connection was lost or the time is over.
  Result wait(const Deadline& deadline);

  // To register with. The first takes results of the session that is waited for, and wipes all.
  static void on_result(result_info* record);
  static int on_event(std::uint32_t event);

 private:
  const std::uint32_t session_id_;
  pthread_cond_t changed_;
  bool is_lost_ = false;
  bool has_result_ = false;
  Result result_;
};

}  // namespace aaa_pam
