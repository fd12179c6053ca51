#include "faults/fault.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>

namespace faults {
namespace {

std::string error_name(int error) {
  if (error == end_of_stream) return "end";
  if (error == short_count) return "short";
  return strerrorname_np(error);
}

}  // namespace

const std::vector<FallibleCall>& fallible_calls() {
  static const std::vector<FallibleCall> calls = {
      {"malloc", {ENOMEM}, true},
      {"socket", {EMFILE}},
      {"bind", {EADDRINUSE}},
      {"connect", {ECONNREFUSED, EINTR}},
      {"setsockopt", {ENOPROTOOPT}},
      {"send", {EINTR, EAGAIN, EPIPE, ECONNRESET, ENOBUFS, short_count}, true},
      {"recv", {EINTR, EAGAIN, EPIPE, ECONNRESET, ENOBUFS, short_count, end_of_stream}, true},
      {"poll", {EINTR, EBADF, ENOMEM}, true},
      {"select", {EINTR, ENOMEM}},
      {"pthread_create", {EAGAIN}},
      {"pthread_attr_init", {ENOMEM}},
      {"pthread_mutexattr_init", {ENOMEM}, false, true},
      {"pthread_mutex_init", {EAGAIN}, false, true},
      {"mkdir", {EACCES}},
      {"chmod", {EPERM}},
      {"open", {EMFILE}},
      {"read", {EIO, end_of_stream}},
  };
  return calls;
}

bool Fault::is_temporary() const {
  if (error == short_count) return true;
  if (!once) return false;
  if (call == "select") return true;
  const bool retried = call == "send" || call == "recv" || call == "poll";
  return retried && (error == EINTR || error == EAGAIN);
}

std::string Fault::text() const {
  return std::string(call) + ":" + error_name(error) + ":" + std::to_string(number) +
         (once ? ":once" : ":onward");
}

std::optional<Fault> fault_of(std::string_view text) {
  std::istringstream stream{std::string(text)};
  std::vector<std::string> parts;
  for (std::string part; std::getline(stream, part, ':');)
    parts.push_back(part);
  if (parts.size() != 4) return std::nullopt;
  const auto call = std::ranges::find(fallible_calls(), parts[0], &FallibleCall::name);
  if (call == fallible_calls().end()) return std::nullopt;
  const auto error = std::ranges::find(call->errors, parts[1], error_name);
  if (error == call->errors.end()) return std::nullopt;
  const auto number = static_cast<unsigned>(std::strtoul(parts[2].c_str(), nullptr, 10));
  return Fault{call->name, *error, number, parts[3] == "once"};
}

}  // namespace faults
