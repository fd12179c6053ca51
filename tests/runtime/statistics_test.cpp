// The statistics record, by word number, and its timing slots.
#include "runtime/send/statistics.h"

#include <algorithm>
#include <array>
#include <thread>
#include <vector>

#include "bytes.h"
#include "support/library_test.h"
#include "transport/base/atomic_word.h"

namespace test {
namespace {

using Counters = std::array<std::uint32_t, 27>;

Counters counters() {
  Counters values;
  static_assert(sizeof g_aaalib_stat == 108);
  std::memcpy(values.data(), &g_aaalib_stat, sizeof values);
  return values;
}

void set_counters(const Counters& values) {
  std::memcpy(&g_aaalib_stat, values.data(), sizeof values);
}

std::uint32_t wall_microseconds() {
  timeval now = {};
  gettimeofday(&now, nullptr);
  return static_cast<std::uint32_t>(now.tv_sec) * 1000000U +
         static_cast<std::uint32_t>(now.tv_usec);
}

class Statistics : public testing::Test {
 protected:
  Statistics() { set_counters({}); }
  ~Statistics() override { set_counters(before_); }

  // Times from an instant that lies `ago_us` microseconds back.
  static void elapse(std::uint32_t slot, std::uint32_t ago_us) {
    timeval now = {};
    gettimeofday(&now, nullptr);
    const auto sec = static_cast<std::uint32_t>(now.tv_sec);
    const auto usec = static_cast<std::uint32_t>(now.tv_usec);
    aaalib_stat_time_elapse(slot, sec - ago_us / 1000000U, usec - ago_us % 1000000U);
  }

 private:
  Counters before_ = counters();
};

// All counters but two are zero.
void expect_only(const Counters& values, std::size_t total, std::size_t maximum) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i == total || i == maximum) continue;
    EXPECT_EQ(0u, values[i]) << "counter " << i;
  }
  EXPECT_EQ(values[total], values[maximum]);
}

TEST_F(Statistics, EachSlotHasItsPairOfCounters) {
  constexpr std::size_t pairs[4][2] = {{2, 3}, {6, 7}, {10, 11}, {14, 15}};
  for (std::uint32_t slot = 0; slot < 4; ++slot) {
    set_counters({});
    elapse(slot, 5000000);
    expect_only(counters(), pairs[slot][0], pairs[slot][1]);
    EXPECT_GE(counters()[pairs[slot][0]], 5000000u);
    EXPECT_LT(counters()[pairs[slot][0]], 8000000u);
  }
}

TEST_F(Statistics, OtherSlotsAreIgnored) {
  for (const std::uint32_t slot : {4u, 5u, 0xffffffffu})
    elapse(slot, 5000000);
  EXPECT_EQ(Counters{}, counters());
}

TEST_F(Statistics, TotalsAddUpAndTheMaximumStays) {
  elapse(0, 9000000);
  const std::uint32_t first = counters()[2];
  elapse(0, 1000000);
  EXPECT_EQ(first, counters()[3]);
  EXPECT_GE(counters()[2], first + 1000000);
  EXPECT_LT(counters()[2], first + 4000000);
}

TEST_F(Statistics, AGreaterTimeReplacesTheMaximum) {
  elapse(1, 1000000);
  const std::uint32_t first = counters()[6];
  elapse(1, 9000000);
  EXPECT_EQ(counters()[6] - first, counters()[7]);
}

TEST_F(Statistics, TheElapsedTimeIsExactWithinTheCall) {
  const std::uint32_t before = wall_microseconds();
  aaalib_stat_time_elapse(2, 1000, 7);
  const std::uint32_t after = wall_microseconds();
  EXPECT_GE(counters()[10], before - 1000000007U);
  EXPECT_LE(counters()[10], after - 1000000007U);
}

TEST_F(Statistics, AStartInTheFutureWrapsAround) {
  timeval now = {};
  gettimeofday(&now, nullptr);
  aaalib_stat_time_elapse(3, static_cast<std::uint32_t>(now.tv_sec) + 100,
                          static_cast<std::uint32_t>(now.tv_usec));
  EXPECT_GE(counters()[14], 0U - 100000000U);
  EXPECT_LT(counters()[14], 0U - 97000000U);
  EXPECT_EQ(counters()[14], counters()[15]);
}

TEST_F(Statistics, CountersAreChangedByAtomicAdds) {
  constexpr std::uint32_t rounds = 20000;
  const auto count = [] {
    const Bytes body(720, 0);
    const aaa_ipc_header header = {0x01010101, 0, 126, 720};
    for (std::uint32_t i = 0; i < rounds; ++i)
      aaalib_ipc_msg_proc_notify_coa_req(&header, body.data());
  };
  aaa::store(g_aaa_client_cb.notify_coa_req_cb, aaa_notify_coa_req_fn([](const void*) {}));
  std::thread other(count);
  count();
  other.join();
  aaa::store(g_aaa_client_cb.notify_coa_req_cb, aaa_notify_coa_req_fn(nullptr));
  EXPECT_EQ(2 * rounds, counters()[24]);
}

}  // namespace
}  // namespace test
