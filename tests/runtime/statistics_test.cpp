// The statistics record, by word number, and its timing slots.
#include "runtime/send/statistics.h"

#include <sys/time.h>

#include "support/library_test.h"

namespace test::statistics {

static_assert(sizeof g_aaalib_stat == 108);

class Statistics : public LibraryTest {
 protected:
  Statistics() { g_aaalib_stat = {}; }
  ~Statistics() override { g_aaalib_stat = before_; }

  static std::uint32_t word(std::size_t n) { return LibraryCounters::word(n); }

  // Times from an instant that lies `ago_us` microseconds back.
  static void elapse(std::uint32_t slot, std::uint32_t ago_us) {
    timeval now = {};
    gettimeofday(&now, nullptr);
    const auto sec = static_cast<std::uint32_t>(now.tv_sec);
    const auto usec = static_cast<std::uint32_t>(now.tv_usec);
    aaalib_stat_time_elapse(slot, sec - ago_us / 1000000U, usec - ago_us % 1000000U);
  }
  static std::uint32_t wall_microseconds() {
    timeval now = {};
    gettimeofday(&now, nullptr);
    return static_cast<std::uint32_t>(now.tv_sec) * 1000000U +
           static_cast<std::uint32_t>(now.tv_usec);
  }

 private:
  const aaalib_stat before_ = g_aaalib_stat;
};

TEST_F(Statistics, EachSlotHasItsPairOfCountersAndOthersAreIgnored) {
  constexpr std::size_t totals[4] = {2, 6, 10, 14};
  for (std::uint32_t slot = 0; slot < 4; ++slot) {
    g_aaalib_stat = {};
    elapse(slot, 5000000);
    const std::size_t total = totals[slot];
    EXPECT_GE(word(total), 5000000u);
    EXPECT_LT(word(total), 8000000u);
    for (std::size_t n = 0; n < LibraryCounters::kWords; ++n)
      EXPECT_EQ(n == total || n == total + 1 ? word(total) : 0u, word(n)) << "counter " << n;
  }
  const LibraryCounters counters;
  for (const std::uint32_t slot : {4u, 5u, 0xffffffffu})
    elapse(slot, 5000000);
  EXPECT_TRUE(counters.all_unchanged());
}

TEST_F(Statistics, TotalsAddUpAndTheMaximumStaysUntilThereIsAGreaterOne) {
  elapse(0, 9000000);
  const std::uint32_t first = word(2);
  elapse(0, 1000000);
  EXPECT_EQ(first, word(3));
  EXPECT_GE(word(2), first + 1000000);
  EXPECT_LT(word(2), first + 4000000);
  elapse(1, 1000000);
  const std::uint32_t second = word(6);
  elapse(1, 9000000);
  EXPECT_EQ(word(6) - second, word(7));
}

TEST_F(Statistics, TheElapsedTimeIsExactWithinTheCall) {
  const std::uint32_t before = wall_microseconds();
  aaalib_stat_time_elapse(2, 1000, 7);
  const std::uint32_t after = wall_microseconds();
  EXPECT_GE(word(10), before - 1000000007U);
  EXPECT_LE(word(10), after - 1000000007U);
}

TEST_F(Statistics, AStartInTheFutureWrapsAround) {
  timeval now = {};
  gettimeofday(&now, nullptr);
  aaalib_stat_time_elapse(3, static_cast<std::uint32_t>(now.tv_sec) + 100,
                          static_cast<std::uint32_t>(now.tv_usec));
  EXPECT_GE(word(14), 0U - 100000000U);
  EXPECT_LT(word(14), 0U - 97000000U);
  EXPECT_EQ(word(14), word(15));
}

TEST_F(Statistics, CountersAreChangedByAtomicAdds) {
  constexpr std::uint32_t rounds = 20000;
  const auto count = [] {
    const std::string body = zeros(720);
    const aaa_ipc_header header = {0x01010101, 0, 126, 720};
    for (std::uint32_t i = 0; i < rounds; ++i)
      aaalib_ipc_msg_proc_notify_coa_req(&header, body.data());
  };
  aaa::store(g_aaa_client_cb.notify_coa_req_cb, aaa_notify_coa_req_fn([](const void*) {}));
  std::thread other(count);
  count();
  other.join();
  EXPECT_EQ(2 * rounds, word(24));
}

}  // namespace test::statistics
