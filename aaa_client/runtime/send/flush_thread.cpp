// The thread that writes the send buffer every 20 ms.
#include <sys/select.h>

#include <cerrno>

#include "runtime/send/library_threads.h"
#include "runtime/send/send_buffer.h"
#include "runtime/send/watchdog.h"
#include "session/state/locks.h"
#include "transport/base/atomic_word.h"
#include "transport/base/cancellation.h"
#include "transport/debug_log.h"
#include "transport/link_sockets.h"

pthread_t g_send_buf_tid = 0;

namespace aaa {
namespace {

constexpr char log_name[] = "aaa_lib_send_buf_chk_thread";
constexpr suseconds_t flush_period_us = 20000;

bool wait_one_period() {
  timeval timeout = {.tv_sec = 0, .tv_usec = flush_period_us};
  const CancellationScope cancellable(PTHREAD_CANCEL_ENABLE);
  return select(1, nullptr, nullptr, nullptr, &timeout) >= 0;
}

// While the link is being set up, what the buffer holds waits for the next period.
void flush() {
  const ScopedLock lock(aaa_lib_send_buf_lock);
  if (g_send_buf_msg_cnt != 0 && waits_for_register_request()) return;
  aaa_lib_send_buf();
  aaa_lib_send_buf_reset();
}

// A thread that was told to end, but has not met a cancellation point yet, is no longer on record:
// it must not flush what belongs to the next registration.
void flush_while_on_record() {
  const ScopedLock lock(aaa_lib_send_buf_lock);
  if (pthread_equal(load(g_send_buf_tid), pthread_self()) != 0) flush();
}

[[noreturn]] void flush_periodically(void (*flush_once)()) {
  name_thread_after_process("_aaa_buf");
  join_watchdog(log_name);
  std::uint32_t stamp = uptime_seconds();
  for (;;) {
    aaa_check_reset_ham_client_notify(&stamp);
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

bool send_buffer_is_used() {
  return load(g_send_buf_tid) != 0;
}

bool aaalib_stop_send_buf_thread() {
  const ScopedLock lock(aaa_lib_send_buf_lock);
  const bool was_running = stop_library_thread(g_send_buf_tid);
  aaa_lib_send_buf_reset();
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
