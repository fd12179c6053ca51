// Waiting for the result of one session.
#include <arpa/inet.h>
#include <pthread.h>
#include <sys/socket.h>

#include <cerrno>

#include "aaa_client.h"
#include "api/send_path.h"
#include "codec/result_info.h"
#include "runtime/send/local_delivery.h"
#include "transport/base/cancellation.h"
#include "transport/base/clock.h"
#include "transport/base/descriptors.h"
#include "transport/base/memory.h"
#include "transport/debug_log.h"

namespace aaa {
namespace {

constexpr char log_name[] = "aaa_user_get_result";
constexpr std::uint32_t max_wait_seconds = 120;
constexpr std::uint32_t max_datagram = 4096;
constexpr std::int32_t go_on = 1;

// One call of aaa_user_get_result(). Its steps return 0 with *result stored, a negative result of
// the call, or go_on while the wait is not over.
class ResultWait {
 public:
  ResultWait(std::uint32_t session_id, std::uint32_t timeout, result_info** result)
      : session_id_(session_id),
        remaining_(timeout < max_wait_seconds ? timeout : max_wait_seconds),
        result_(result) {}

  // Only the waiting is deducted from the remaining time, in whole seconds of the clock: a datagram
  // that arrives in the second in which its wait began costs nothing.
  std::int32_t run() {
    std::int32_t outcome = go_on;
    do {
      const std::uint32_t start = monotonic_seconds();
      const int ready = wait_for_datagram();
      const int wait_error = errno;
      const std::uint32_t waited = monotonic_seconds() - start;
      outcome = ready > 0 ? take_datagram() : without_datagram(ready, wait_error);
      spend(waited);
    } while (outcome == go_on && remaining_ != 0);
    return outcome == go_on ? -EINVAL : outcome;
  }

 private:
  static std::int32_t without_datagram(int ready, int wait_error) {
    if (ready == 0) {
      AAA_DEBUG_LOG_AS(log_name, "timeout, no result available.\r\n");
      return -EINVAL;
    }
    if (wait_error == EINTR) return go_on;
    AAA_DEBUG_LOG_AS(log_name, "select fail errno %d.\r\n", wait_error);
    return -EINVAL;
  }

  int wait_for_datagram() const {
    const CancellationScope as_the_client_has_it(no_cancellation_.before());
    return wait_readable(load(lib_msg_server_fd), static_cast<int>(remaining_ * 1000));
  }

  std::int32_t take_datagram() {
    void* const buffer = AAA_MALLOC(max_datagram);
    if (buffer == nullptr) {
      AAA_DEBUG_LOG_AS(log_name, "out of memory.\r\n");
      return -ENOMEM;
    }
    const std::int32_t outcome = receive_into(buffer);
    wipe_and_free(buffer, max_datagram);
    return outcome;
  }

  std::int32_t receive_into(void* buffer) {
    // Another waiter may have taken the datagram, so this call must not block.
    const ssize_t length = recv(load(lib_msg_server_fd), buffer, max_datagram, MSG_DONTWAIT);
    if (length < 0 && errno == EAGAIN) return go_on;
    if (length < 1) {
      AAA_DEBUG_LOG_AS(log_name, "recvfrom error\r\n");
      return -EINVAL;
    }
    return match(buffer, static_cast<std::int32_t>(length));
  }

  std::int32_t match(const void* body, std::int32_t length) {
    result_info* decoded = nullptr;
    if (decode_result_without_body(&decoded, body, length) == 0) {
      AAA_DEBUG_LOG_AS(log_name, "parse error\r\n");
      return -EINVAL;
    }
    if (decoded->sub.session_id == session_id_) {
      *result_ = decoded;
      return 0;
    }
    // Another session's result: dropped, and its record is leaked, as aaa_client.h documents.
    AAA_DEBUG_LOG_AS(log_name, "res->sub.session_id is %u but the id is %u\r\n",
                     decoded->sub.session_id, session_id_);
    return go_on;
  }

  void spend(std::uint32_t seconds) { remaining_ -= seconds < remaining_ ? seconds : remaining_; }

  CancellationScope no_cancellation_{PTHREAD_CANCEL_DISABLE};
  std::uint32_t session_id_;
  std::uint32_t remaining_;
  result_info** result_;
};

void clear_waiting_session(void*) {
  set_waiting_session(0);
}

bool datagram_pair_is_ready() {
  return load(g_msg_socket_ok) != 0 && load(lib_msg_server_fd) >= 1;
}

}  // namespace
}  // namespace aaa

std::int32_t aaa_user_get_result(std::uint32_t session_id, std::uint32_t, std::uint32_t timeout,
                                 result_info** result) {
  if (result == nullptr || !aaa::datagram_pair_is_ready()) return -1;
  std::int32_t outcome = 0;
  aaa::set_waiting_session(session_id);
  pthread_cleanup_push(aaa::clear_waiting_session, nullptr);
  outcome = aaa::ResultWait(session_id, timeout, result).run();
  pthread_cleanup_pop(1);
  return outcome;
}

std::int32_t aaa_clear_req_user(std::uint32_t session_id) {
  if (aaa_is_alive() == 0) return -1;
  const std::uint32_t network_order = htonl(session_id);
  const std::int32_t error =
      aaa::send_one_way(AAA_MSG_CLEAR_USER, 0, &network_order, sizeof network_order);
  return error == 0 ? 0 : -1;
}
