// The thread that writes the send buffer every 20 ms.
#include <sys/select.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "runtime/detached_thread.h"
#include "runtime/send_buffer.h"
#include "runtime/watchdog.h"
#include "session/locks.h"
#include "transport/atomic_word.h"
#include "transport/cancellation.h"
#include "transport/debug_log.h"
#include "transport/thread_name.h"

pthread_t g_send_buf_tid = 0;

namespace aaa {
namespace {

constexpr suseconds_t flush_period_us = 20000;

// False once the thread has been told to end, although it has not yet met a cancellation point.
bool is_flush_thread() {
  return pthread_equal(load(g_send_buf_tid), pthread_self()) != 0;
}

bool wait_one_period() {
  timeval timeout = {.tv_sec = 0, .tv_usec = flush_period_us};
  const CancellationScope cancellable(PTHREAD_CANCEL_ENABLE);
  return select(1, nullptr, nullptr, nullptr, &timeout) >= 0;
}

void flush() {
  const ScopedLock lock(aaa_lib_send_buf_lock);
  if (!is_flush_thread()) return;
  aaa_lib_send_buf();
  aaa_lib_send_buf_reset();
}

void name_thread() {
  char name[16] = {};
  std::snprintf(name, sizeof name - 1, "%d_aaa_buf", getpid());
  set_thread_name(name);
}

void register_with_watchdog() {
  if (aaa_reg_ham_client_notify() < 0) {
    AAA_DEBUG_LOG_AS("aaa_lib_send_buf_chk_thread", "ham_client_reg_thread_notify: %s\r\n",
                     std::strerror(errno));
  }
}

}  // namespace

bool send_buffer_is_used() {
  return load(g_send_buf_tid) != 0;
}

std::int32_t aaalib_init_send_buf_thread() {
  // The lock keeps the thread from flushing before its id is stored.
  const ScopedLock lock(aaa_lib_send_buf_lock);
  switch (start_detached(g_send_buf_tid, aaa_lib_send_buf_chk_thread)) {
    case ThreadStart::started:
      return 0;
    case ThreadStart::no_attributes:
      AAA_DEBUG_LOG("aaalib attr init failed\r\n");
      return -1;
    case ThreadStart::no_thread:
      AAA_DEBUG_LOG("aaalib create send buffer thread failed\r\n");
      return -1;
  }
  return -1;
}

bool aaalib_stop_send_buf_thread() {
  const ScopedLock lock(aaa_lib_send_buf_lock);
  const pthread_t thread = load(g_send_buf_tid);
  if (thread != 0) pthread_cancel(thread);
  store(g_send_buf_tid, pthread_t{0});
  aaa_lib_send_buf_reset();
  return thread != 0;
}

}  // namespace aaa

void* aaa_lib_send_buf_chk_thread(void*) {
  using namespace aaa;
  forbid_cancellation();
  name_thread();
  register_with_watchdog();
  std::uint32_t stamp = uptime_seconds();
  for (;;) {
    aaa_check_reset_ham_client_notify(&stamp);
    if (wait_one_period()) {
      flush();
    } else {
      AAA_DEBUG_LOG("select error! errno:%d.\r\n", errno);
    }
  }
}
