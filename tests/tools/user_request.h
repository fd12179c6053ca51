// Bodies of requests about users.
#pragma once

#include <cstring>
#include <string>

#include "raw_connection.h"

namespace aaa_sim_test {

struct Attempt {
  std::string name;
  std::string password;
  std::string state;
};

inline aaa_item item(const std::string& value) {
  return {.type = 0, .len = static_cast<std::uint16_t>(value.size()), .value = value.data()};
}

inline Bytes request_body(std::uint32_t session_id, const Attempt& attempt) {
  authen_info record{};
  record.session_id = session_id;
  std::strncpy(record.chars65_a, attempt.name.c_str(), sizeof record.chars65_a - 1);
  record.user_password = item(attempt.password);
  record.state = item(attempt.state);
  void* body = nullptr;
  const std::uint32_t length = aaa_encap_authen_info(&record, &body);
  const auto* first = static_cast<const std::uint8_t*>(body);
  Bytes bytes(first, first + length);
  aaa_free(0, "", body);
  return bytes;
}

}  // namespace aaa_sim_test
