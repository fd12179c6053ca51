#include "runtime/send/statistics.h"

#include "transport/base/atomic_word.h"

aaalib_stat g_aaalib_stat = {};

namespace aaa {
namespace {

void add_time(std::uint32_t& total, std::uint32_t& maximum, std::uint32_t elapsed) {
  add(total, elapsed);
  const std::uint32_t highest = load(maximum);
  if (elapsed > highest) add(maximum, elapsed - highest);
}

}  // namespace
}  // namespace aaa

void aaalib_stat_time_elapse(std::uint32_t slot, std::uint32_t start_sec,
                             std::uint32_t start_usec) {
  using namespace aaa;
  timeval now = {};
  gettimeofday(&now, nullptr);
  const std::uint32_t elapsed = static_cast<std::uint32_t>(now.tv_usec) +
                                1000000U * static_cast<std::uint32_t>(now.tv_sec) -
                                1000000U * start_sec - start_usec;
  aaalib_stat& stat = g_aaalib_stat;
  switch (slot) {
    case timing_authen:
      return add_time(stat.authen_time_total, stat.authen_time_max, elapsed);
    case timing_acct:
      return add_time(stat.acct_time_total, stat.acct_time_max, elapsed);
    case timing_session_id:
      return add_time(stat.session_id_time_total, stat.session_id_time_max, elapsed);
    case timing_mlist:
      return add_time(stat.mlist_time_total, stat.mlist_time_max, elapsed);
    default:
      return;
  }
}
