// Where passwords come from: never from the command line, which other users can see.
#pragma once

#include <string>

#include "secret.h"

namespace aaa_probe {

// With neither, the user is asked.
struct PasswordSource {
  bool is_stdin = false;
  std::string file = {};

  bool is_terminal() const { return !is_stdin && file.empty(); }
};

// The first line of the file, the next line of standard input, or the user's answer. Throws Failure
// when there is none.
Secret read_password(const PasswordSource& source, const std::string& prompt);

}  // namespace aaa_probe
