// One failure of one call that the library makes, and how it is written down:
// "recv:ECONNRESET:17:once" is the 17th recv() and no other, "malloc:ENOMEM:3:onward" the third
// malloc() and every later one.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace faults {

// Ways to fail other than with an errno value: at the end of the stream, and having moved only a
// part of the bytes.
constexpr int end_of_stream = -1;
constexpr int short_count = -2;

struct Fault {
  std::string_view call;
  int error;
  unsigned number;  // of the call that fails, or that fails first
  bool once;

  // Whether a client must not notice it at all.
  bool is_temporary() const;
  std::string text() const;
};

// A call and all the ways in which it is made to fail.
struct FallibleCall {
  std::string_view name;
  std::vector<int> errors;
  // A hundred times in a life rather than ten times.
  bool is_frequent = false;
  // A call that is not made to fail for good: without its locks the library is not made for
  // threads.
  bool only_once = false;
};

const std::vector<FallibleCall>& fallible_calls();
std::optional<Fault> fault_of(std::string_view text);

}  // namespace faults
