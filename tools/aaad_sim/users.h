// The users that the simulator knows.
#pragma once

#include <cstdint>
#include <string>

namespace aaa_sim {

enum class Verdict { accept, reject, challenge };

struct User {
  std::string name = {};
  std::string password = {};
  Verdict verdict = Verdict::accept;  // of a request with the right password
  std::string reply_message = {};     // empty: none, but for rejections
  std::string state = {};             // asked back after a challenge
  std::string eap_message = {};       // goes with a challenge
  std::string class_attribute = {};   // goes with an acceptance
  std::uint32_t session_timeout = 0;  // seconds, goes with an acceptance
};

}  // namespace aaa_sim
