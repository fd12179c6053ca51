// Authentication of a user.
#pragma once

#include <string>

#include "commands.h"
#include "load.h"
#include "password_input.h"

namespace aaa_probe {

struct LoginOptions {
  std::string user;
  PasswordSource password;
  std::string state = {};        // of the challenge that the password answers
  std::uint32_t session_id = 0;  // 0: a new one
  std::string nas_ip_address = {};
  std::uint32_t nas_port = 0;
  std::uint32_t nas_port_type = 0;
  std::uint32_t service_type = 0;
  Places places = {};
  LoadOptions load = {};
};

Status login(const LoginOptions& options, const Context& context);

}  // namespace aaa_probe
