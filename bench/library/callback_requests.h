// Requests whose results come to the result callback, one at a time.
#pragma once

#include <cstddef>

#include "aaa_client.h"

namespace bench {

class CallbackRequests {
 public:
  explicit CallbackRequests(std::size_t body_length);

  // What to register with.
  static reg_info registration();

  void send_and_wait();

 private:
  authen_info request_;
};

}  // namespace bench
