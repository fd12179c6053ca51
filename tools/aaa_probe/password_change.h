// The change of a local user's password.
#pragma once

#include <string>

#include "commands.h"
#include "password_input.h"

namespace aaa_probe {

struct PasswordChange {
  std::string user;
  PasswordSource old_password;
  PasswordSource new_password;
};

Status change_password(const PasswordChange& change, const Context& context);

}  // namespace aaa_probe
