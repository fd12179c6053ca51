#include "transport/message_counters.h"

#include <cstring>

#include "aaa_client.h"
#include "transport/base/atomic_word.h"
#include "transport/base/memory.h"

aaa_msg_stat g_aaa_msg_stat = {};

namespace aaa {
namespace {

void keep_last_error(std::int32_t fd, int error) {
  store(g_aaa_msg_stat.last_error_socket, static_cast<std::uint32_t>(fd));
  store(g_aaa_msg_stat.last_error_errno, static_cast<std::uint32_t>(error));
}

}  // namespace

void count_send_error(std::int32_t fd, int error) {
  add_approximately(g_aaa_msg_stat.send_error_times, 1U);
  keep_last_error(fd, error);
}

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

}  // namespace aaa

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
