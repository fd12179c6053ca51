// One failure of one call that the library makes, and how it is written down:
// "recv:ECONNRESET:17:once" is the 17th recv() and no other, "malloc:ENOMEM:3:onward" the third
// malloc() and every later one.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace faults {

enum class Call {
  malloc,
  socket,
  bind,
  connect,
  setsockopt,
  send,
  recv,
  poll,
  select,
  pthread_create,
  pthread_attr_init,
  pthread_mutexattr_init,
  pthread_mutex_init,
  mkdir,
  chmod,
  open,
  read
};

// Ways to fail other than with an errno value: at the end of the stream, and having moved only a
// part of the bytes.
constexpr int end_of_stream = -1;
constexpr int short_count = -2;

struct Fault {
  Call call;
  int error;
  unsigned number;  // of the call that fails, or that fails first
  bool once;
};

// A call and all the ways in which it is made to fail.
struct FallibleCall {
  Call call;
  const char* name;
  std::span<const int> errors;
  // A hundred times in a life rather than ten times.
  bool is_frequent = false;
  // A call that is not made to fail for good: without its locks the library is not made for
  // threads.
  bool only_once = false;
};

std::span<const FallibleCall> fallible_calls();

std::string text_of(const Fault& fault);
std::optional<Fault> fault_of(std::string_view text);

// Whether a client must not notice it at all.
bool is_temporary(const Fault& fault);

}  // namespace faults
