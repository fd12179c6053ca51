// The two lengths of a soak: a few seconds in every test run, and long when AAA_SOAK is "long".
#pragma once

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace soak {

inline bool is_long() {
  const char* const length = std::getenv("AAA_SOAK");
  return length != nullptr && std::string_view(length) == "long";
}

template <class Count>
Count by_length(Count in_short, Count in_long) {
  return is_long() ? in_long : in_short;
}

// How often aaad is killed: AAA_SOAK_CYCLES, if that is set.
inline int kill_cycles(int in_short, int in_long) {
  const char* const wanted = std::getenv("AAA_SOAK_CYCLES");
  return wanted != nullptr ? std::atoi(wanted) : by_length(in_short, in_long);
}

// The same where each time takes seconds: no more than the length has.
inline int slow_kill_cycles(int in_short, int in_long) {
  return std::min(kill_cycles(in_short, in_long), by_length(in_short, in_long));
}

}  // namespace soak
