#include "transport/framing.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cassert>
#include <cerrno>
#include <cstring>

#include "aaa_client.h"
#include "transport/base/atomic_word.h"
#include "transport/base/clock.h"
#include "transport/base/memory.h"

aaa_msg_stat g_aaa_msg_stat = {};

namespace aaa {
namespace {

void keep_last_error(std::int32_t fd, int error) {
  store(g_aaa_msg_stat.last_error_socket, static_cast<std::uint32_t>(fd));
  store(g_aaa_msg_stat.last_error_errno, static_cast<std::uint32_t>(error));
}

constexpr int max_send_tries = 49;
constexpr useconds_t send_pause_us = 100000;

// At the deadline a loop returns the error of its last attempt, never 0.
std::int32_t error_at_deadline() {
  return errno != 0 ? errno : EAGAIN;
}

}  // namespace

void count_send_again(std::int32_t fd, int error) {
  add_approximately(g_aaa_msg_stat.send_again_times, 1U);
  keep_last_error(fd, error);
}

void count_recv_failure(std::int32_t fd, int error) {
  add_approximately(g_aaa_msg_stat.recv_fail_times, 1U);
  keep_last_error(fd, error);
}

void count_send_discard() {
  add_approximately(g_aaa_msg_stat.resend_discard_num, 1U);
}

void count_send_error(std::int32_t fd, int error) {
  add_approximately(g_aaa_msg_stat.send_error_times, 1U);
  keep_last_error(fd, error);
}

std::int32_t receive_between(std::int32_t fd, void* buffer, std::size_t least, std::size_t most,
                             std::size_t& received) {
  assert(received < least && least <= most);
  if (fd < 0) return EINVAL;
  const std::uint32_t start = monotonic_seconds();
  do {
    const ssize_t count = recv(fd, static_cast<char*>(buffer) + received, most - received, 0);
    if (count > 0) {
      received += static_cast<std::size_t>(count);
      if (received >= least) return 0;
    } else if (count == 0) {
      count_recv_failure(fd, errno);
      return EPIPE;
    } else if (!is_temporary(errno)) {
      const int error = errno;
      count_recv_failure(fd, error);
      return error;
    }
  } while (is_before_deadline(start));
  return error_at_deadline();
}

std::int32_t receive_exactly(std::int32_t fd, void* buffer, std::size_t length,
                             std::size_t& received) {
  received = 0;
  return receive_between(fd, buffer, length, length, received);
}

}  // namespace aaa

std::int32_t aaa_msg_send(std::int32_t fd, const void* buffer, std::int32_t length,
                          std::int32_t flags) {
  using namespace aaa;
  if (fd < 0 || length <= 0 || buffer == nullptr) return EINVAL;
  const std::uint32_t start = monotonic_seconds();
  const auto* next = static_cast<const char*>(buffer);
  auto remaining = static_cast<std::size_t>(length);
  int tries = 0;
  do {
    const ssize_t sent = send(fd, next, remaining, flags | MSG_NOSIGNAL);
    if (sent >= 0) {
      next += sent;
      remaining -= static_cast<std::size_t>(sent);
      if (remaining == 0) return 0;
      continue;
    }
    const int error = errno;
    ++tries;
    if (!is_temporary(error)) {
      count_send_error(fd, error);
      return error;
    }
    count_send_again(fd, error);
    if (tries > max_send_tries) {
      count_send_discard();
      return error;
    }
    usleep(send_pause_us);
  } while (is_before_deadline(start));
  return error_at_deadline();
}

std::int32_t aaa_msg_recv(std::int32_t fd, void* buffer, std::int32_t length) {
  using namespace aaa;
  if (fd < 0 || buffer == nullptr) return EINVAL;
  if (length == 0) return 0;
  if (length < 0) return error_at_deadline();
  std::size_t received = 0;
  return receive_exactly(fd, buffer, static_cast<std::size_t>(length), received);
}

std::int32_t aaa_show_msg_stat(aaa_print_fn print) {
  using aaa::load;
  if (print == nullptr) return 0;
  print("aaa message call send error times: %u\r\n", load(g_aaa_msg_stat.send_error_times));
  print("aaa message call send again times: %u\r\n", load(g_aaa_msg_stat.send_again_times));
  print("aaa message call recv fail times: %u\r\n", load(g_aaa_msg_stat.recv_fail_times));
  print("aaa message resend discard num: %u\r\n", load(g_aaa_msg_stat.resend_discard_num));
  print("aaa malloc times: %u\r\n", load(g_aaa_malloc_times));
  print("aaa free times: %u\r\n", load(g_aaa_free_times));
  const auto error = static_cast<int>(load(g_aaa_msg_stat.last_error_errno));
  if (error == 0) return 0;
  print("aaa message error socket(%d): %s\r\n",
        static_cast<int>(load(g_aaa_msg_stat.last_error_socket)), std::strerror(error));
  return 0;
}

std::int32_t aaalib_show_msg_stat(aaa_print_fn print) {
  return aaa_show_msg_stat(print);
}
