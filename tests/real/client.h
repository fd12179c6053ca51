// The library as a client of aaad, with results by callback, for several threads.
#pragma once

#include <aaa_client.h>

#include <cstdint>
#include <string>

namespace real_test {

enum Code : std::uint32_t { kAccepted = 0, kRejected = 1, kChallenge = 3, kNoServer = 4 };
inline constexpr std::uint32_t kNoAnswer = 99;

// A copy of the fields of a result that RADIUS fills.
struct Answer {
  std::uint32_t code = kNoAnswer;
  std::uint32_t session_timeout = 0;
  std::uint32_t tunnel_type = 0;
  std::uint32_t tunnel_medium = 0;
  std::string vlan = {};
  std::string user = {};
  std::string reply = {};
  std::string state = {};
  std::string session_class = {};
};

// Registered as long as it lives. One in a process.
class Client {
 public:
  explicit Client(const std::string& directory);
  ~Client();
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  // Send the record and wait for the answer of its session. That none comes is a failure of the
  // test too.
  Answer ask(authen_info& login);
  Answer ask(acct_info& report);
};

// A record with a session id of its own, unless one is given.
authen_info new_login(const std::string& user, std::uint32_t session_id = 0);
acct_info new_report(const std::string& user, std::uint32_t session_id, std::uint32_t kind);

// The text must outlive the item.
inline aaa_item item_of(const std::string& text) {
  return {0, static_cast<std::uint16_t>(text.size()), text.data()};
}

}  // namespace real_test
