// The process-health watchdog, as the library's threads and its client use it.
#include "runtime/send/watchdog.h"

#include <sys/sysinfo.h>
#include <unistd.h>

#include "aaa_client.h"
#include "ham_client.h"
#include "transport/debug_log.h"

namespace aaa {
namespace {

constexpr std::uint32_t watch_interval = 60;
constexpr std::uint32_t watch_tolerance = 10;
constexpr std::int64_t feed_after_seconds = 50;

struct Uptime {
  std::int32_t result;
  std::uint32_t seconds;
};

Uptime read_uptime() {
  struct sysinfo info = {};
  const int result = sysinfo(&info);
  return {result, static_cast<std::uint32_t>(info.uptime)};
}

}  // namespace

std::uint32_t uptime_seconds() {
  return read_uptime().seconds;
}

}  // namespace aaa

std::int32_t aaa_reg_ham_client_thread_notify(std::int32_t pid, std::int32_t tid) {
  return ham_client_reg_thread_notify(pid, tid, aaa::watch_interval, aaa::watch_tolerance);
}

std::int32_t aaa_reg_ham_client_notify() {
  return aaa_reg_ham_client_thread_notify(getpid(), aaa::thread_id());
}

std::int32_t aaa_reset_ham_client_notify() {
  return ham_client_reset_thread_notify(getpid(), aaa::thread_id(), aaa::watch_interval,
                                        aaa::watch_tolerance);
}

std::int32_t aaa_dereg_ham_client_notify() {
  return aaa_dereg_ham_client_notify_by_tid(aaa::thread_id());
}

std::int32_t aaa_dereg_ham_client_notify_by_tid(std::int32_t tid) {
  return ham_client_unreg_thread_notify(tid);
}

std::int32_t aaa_check_reset_ham_client_notify(std::uint32_t* stamp) {
  const aaa::Uptime uptime = aaa::read_uptime();
  const std::int64_t distance = std::int64_t{uptime.seconds} - std::int64_t{*stamp};
  if (distance >= -aaa::feed_after_seconds && distance <= aaa::feed_after_seconds) {
    return uptime.result;
  }
  const std::int32_t result = aaa_reset_ham_client_notify();
  if (result >= 0) *stamp = uptime.seconds;
  return result;
}
