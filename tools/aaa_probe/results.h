// Results of requests: the library's callback hands each to the thread that waits for its session.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "aaa_client.h"
#include "output.h"
#include "status.h"

namespace aaa_probe {

// What is printed of a result. Keys for the session are not copied.
struct Answer {
  std::uint32_t code = 0;
  std::uint32_t session_id = 0;
  std::string user = {};
  std::string message = {};
  std::string state = {};
  std::string class_attribute = {};
  std::string eap_message = {};
  std::string nas_port_id = {};
  std::string chargeable_user_identity = {};
  std::string vlan = {};
  std::uint32_t session_timeout = 0;
  std::uint32_t idle_timeout = 0;
  std::uint32_t interim_interval = 0;
  std::uint32_t tunnel_type = 0;
  std::uint32_t tunnel_medium_type = 0;
};

Status status_of(const Answer& answer);
Record record_of(const Answer& answer);

// For reg_info::notify_result_cb, and for AAA_EVENT_CONNECTION_LOST.
void deliver_result(result_info* result);
void fail_all_requests();

// Sends a request with `send`, which returns an error as aaa_user_req_authen() does, and waits for
// its result; one request of a session at a time. Throws Failure.
Answer ask(std::uint32_t session_id, std::uint32_t timeout,
           const std::function<std::int32_t()>& send);

}  // namespace aaa_probe
