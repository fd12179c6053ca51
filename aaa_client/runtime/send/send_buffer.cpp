#include "runtime/send/send_buffer.h"

#include <sys/select.h>

#include <cerrno>
#include <cstring>

#include "runtime/send/library_threads.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "transport/base/atomic_word.h"
#include "transport/base/cancellation.h"
#include "transport/debug_log.h"
#include "transport/framing.h"
#include "transport/link_sockets.h"

aaa_send_buf aaalib_send_buf = {};
std::uint32_t g_send_buf_msg_cnt = 0;
std::uint8_t g_send_buf_init = 0;
pthread_t g_send_buf_tid = 0;
std::uint32_t g_send_buf_tmr = 0;
std::uint8_t g_send_buf_tmr_init = 0;

namespace {

constexpr std::uint32_t max_messages = 16;

std::int32_t send(const void* message, std::uint32_t length) REQUIRES(aaa_lib_send_buf_lock) {
  return aaa::send_on_link(aaa::LinkSocket::request, aaa::link_number(), message, length);
}

void write_buffer() REQUIRES(aaa_lib_send_buf_lock) {
  constexpr char log_name[] = "aaa_lib_send_buf";
  if (g_send_buf_msg_cnt == 0) return;
  if (aaa::load(g_aaa_client_cb.sync_fd) < 1 || aaa::waits_for_register_request()) {
    AAA_DEBUG_LOG_AS(log_name, "send sd not available.\r\n");
    return;
  }
  const std::int32_t error =
      send(&aaalib_send_buf, aaa::header_size + aaalib_send_buf.header.length);
  if (error != 0) AAA_DEBUG_LOG_AS(log_name, "send fail error %s.\r\n", std::strerror(error));
}

void reset_buffer() REQUIRES(aaa_lib_send_buf_lock) {
  g_send_buf_msg_cnt = 0;
  aaalib_send_buf.header = {
      .marker = aaa::header_marker, .id = 0, .type = AAA_MSG_PAD_PKT, .length = 0};
  std::memset(aaalib_send_buf.body, 0, sizeof aaalib_send_buf.body);
}

void flush_and_reset() REQUIRES(aaa_lib_send_buf_lock) {
  write_buffer();
  reset_buffer();
}

bool fits(std::uint32_t length) REQUIRES(aaa_lib_send_buf_lock) {
  return g_send_buf_msg_cnt < max_messages &&
         length + aaalib_send_buf.header.length < AAA_SEND_BUF_BODY_SIZE;
}

void append(const void* message, std::uint32_t length) REQUIRES(aaa_lib_send_buf_lock) {
  std::memcpy(aaalib_send_buf.body + aaalib_send_buf.header.length, message, length);
  aaalib_send_buf.header.length += length;
  ++g_send_buf_msg_cnt;
}

// Flushes first, to preserve the order.
void send_directly(const void* message, std::uint32_t length) REQUIRES(aaa_lib_send_buf_lock) {
  flush_and_reset();
  const std::int32_t error = send(message, length);
  if (error != 0) {
    AAA_DEBUG_LOG_AS("aaa_lib_add_send_buf", "send fail error %s.\r\n", std::strerror(error));
  }
}

}  // namespace

void aaa_lib_send_buf_init() {
  const aaa::ScopedLock lock(aaa_lib_send_buf_lock);
  if (g_send_buf_init != 0) return;
  reset_buffer();
  g_send_buf_init = 1;
}

void aaa_lib_send_buf_reset() {
  const aaa::ScopedLock lock(aaa_lib_send_buf_lock);
  reset_buffer();
}

void aaa_lib_send_buf() {
  const aaa::ScopedLock lock(aaa_lib_send_buf_lock);
  write_buffer();
}

std::int32_t aaa_lib_add_send_buf(const void* message, std::uint32_t length) {
  if (message == nullptr) return 0;
  const aaa::ScopedLock lock(aaa_lib_send_buf_lock);
  aaa::add_to_send_buffer(message, length);
  return 0;
}

namespace aaa {
namespace {

constexpr char log_name[] = "aaa_lib_send_buf_chk_thread";
constexpr suseconds_t flush_period_us = 20000;

bool wait_one_period() {
  timeval timeout = {.tv_sec = 0, .tv_usec = flush_period_us};
  const CancellationScope cancellable(PTHREAD_CANCEL_ENABLE);
  return select(1, nullptr, nullptr, nullptr, &timeout) >= 0;
}

// While the link is being set up, the buffer is kept for the next period.
void flush() {
  const ScopedLock lock(aaa_lib_send_buf_lock);
  if (g_send_buf_msg_cnt != 0 && waits_for_register_request()) return;
  flush_and_reset();
}

// A cancelled thread that has not reached a cancellation point yet must not flush messages of the
// next registration.
void flush_while_on_record() {
  const ScopedLock lock(aaa_lib_send_buf_lock);
  if (pthread_equal(load(g_send_buf_tid), pthread_self()) != 0) flush();
}

[[noreturn]] void flush_periodically(void (*flush_once)()) {
  name_thread_after_process("_aaa_buf");
  join_watchdog(log_name);
  WatchdogStamp stamp = {.fed_at = uptime_seconds()};
  for (;;) {
    feed_watchdog(stamp);
    if (wait_one_period()) {
      flush_once();
    } else {
      AAA_DEBUG_LOG_AS(log_name, "select error! errno:%d.\r\n", errno);
    }
  }
}

void* flush_thread(void*) {
  run_library_thread(ThreadRole::flush, [] { flush_periodically(flush_while_on_record); });
  return nullptr;
}

}  // namespace

void add_to_send_buffer(const void* message, std::uint32_t length) {
  if (length >= AAA_SEND_BUF_BODY_SIZE) return send_directly(message, length);
  if (!fits(length)) flush_and_reset();
  append(message, length);
}

bool send_buffer_is_used() {
  return load(g_send_buf_tid) != 0;
}

bool aaalib_stop_send_buf_thread() {
  const ScopedLock lock(aaa_lib_send_buf_lock);
  const bool was_running = stop_library_thread(g_send_buf_tid);
  reset_buffer();
  return was_running;
}

}  // namespace aaa

std::int32_t aaalib_init_send_buf_thread() {
  using namespace aaa;
  // The lock keeps the thread from flushing before its id is stored.
  const ScopedLock lock(aaa_lib_send_buf_lock);
  if (send_buffer_is_used()) return 0;
  return start_library_thread(ThreadRole::flush, g_send_buf_tid, flush_thread,
                              {.starter = __func__, .thread = "send buffer"});
}

void* aaa_lib_send_buf_chk_thread(void*) {
  using namespace aaa;
  run_clients_thread([] { flush_periodically(flush); });
  return nullptr;
}
