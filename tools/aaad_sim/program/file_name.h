// What options that name a file have in common.
#pragma once

#include <string>

namespace aaa_sim {

// For CLI::Option::check(). An empty name, as of a variable that is not set, is not the same as no
// option.
inline std::string refuse_empty(const std::string& name) {
  return name.empty() ? "the name is empty" : "";
}

}  // namespace aaa_sim
