#include "faults/fault.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>
#include <vector>

namespace faults {
namespace {

constexpr int no_memory[] = {ENOMEM};
constexpr int socket_errors[] = {EMFILE};
constexpr int bind_errors[] = {EADDRINUSE};
constexpr int connect_errors[] = {ECONNREFUSED, EINTR};
constexpr int option_errors[] = {ENOPROTOOPT};
constexpr int send_errors[] = {EINTR, EAGAIN, EPIPE, ECONNRESET, ENOBUFS, short_count};
constexpr int recv_errors[] = {EINTR,   EAGAIN,      EPIPE,        ECONNRESET,
                               ENOBUFS, short_count, end_of_stream};
constexpr int poll_errors[] = {EINTR, EBADF, ENOMEM};
constexpr int select_errors[] = {EINTR, ENOMEM};
constexpr int thread_errors[] = {EAGAIN};
constexpr int directory_errors[] = {EACCES};
constexpr int mode_errors[] = {EPERM};
constexpr int open_errors[] = {EMFILE};
constexpr int read_errors[] = {EIO, end_of_stream};

constexpr FallibleCall calls[] = {
    {Call::malloc, "malloc", no_memory, true},
    {Call::socket, "socket", socket_errors},
    {Call::bind, "bind", bind_errors},
    {Call::connect, "connect", connect_errors},
    {Call::setsockopt, "setsockopt", option_errors},
    {Call::send, "send", send_errors, true},
    {Call::recv, "recv", recv_errors, true},
    {Call::poll, "poll", poll_errors, true},
    {Call::select, "select", select_errors},
    {Call::pthread_create, "pthread_create", thread_errors},
    {Call::pthread_attr_init, "pthread_attr_init", no_memory},
    {Call::pthread_mutexattr_init, "pthread_mutexattr_init", no_memory, false, true},
    {Call::pthread_mutex_init, "pthread_mutex_init", thread_errors, false, true},
    {Call::mkdir, "mkdir", directory_errors},
    {Call::chmod, "chmod", mode_errors},
    {Call::open, "open", open_errors},
    {Call::read, "read", read_errors},
};

std::string error_name(int error) {
  if (error == end_of_stream) return "end";
  if (error == short_count) return "short";
  return strerrorname_np(error);
}

std::vector<std::string> parts_of(std::string_view text) {
  std::istringstream stream{std::string(text)};
  std::vector<std::string> parts;
  for (std::string part; std::getline(stream, part, ':');)
    parts.push_back(part);
  return parts;
}

}  // namespace

std::span<const FallibleCall> fallible_calls() {
  return calls;
}

std::string text_of(const Fault& fault) {
  const auto call = std::ranges::find(calls, fault.call, &FallibleCall::call);
  return std::string(call->name) + ":" + error_name(fault.error) + ":" +
         std::to_string(fault.number) + (fault.once ? ":once" : ":onward");
}

std::optional<Fault> fault_of(std::string_view text) {
  const std::vector<std::string> parts = parts_of(text);
  if (parts.size() != 4) return std::nullopt;
  const auto call = std::ranges::find(calls, parts[0], &FallibleCall::name);
  if (call == std::end(calls)) return std::nullopt;
  const auto error = std::ranges::find(call->errors, parts[1], error_name);
  if (error == call->errors.end()) return std::nullopt;
  const auto number = static_cast<unsigned>(std::strtoul(parts[2].c_str(), nullptr, 10));
  return Fault{call->call, *error, number, parts[3] == "once"};
}

bool is_temporary(const Fault& fault) {
  if (fault.error == short_count) return true;
  if (!fault.once) return false;
  if (fault.call == Call::select) return true;
  const bool retried =
      fault.call == Call::send || fault.call == Call::recv || fault.call == Call::poll;
  return retried && (fault.error == EINTR || fault.error == EAGAIN);
}

}  // namespace faults
