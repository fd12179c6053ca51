// What requests count, by the numbers of the counters, and how their time is kept.
#include <chrono>
#include <thread>

#include "api/request_kinds.h"
#include "session/state/client_state.h"
#include "support/library_counters.h"

namespace {

using test::LibraryCounters;

// Counters of a kind of request.
struct Counters {
  test::RequestKind kind;
  std::size_t requests, failures, time_total, time_max;
};

std::ostream& operator<<(std::ostream& out, const Counters& counters) {
  return out << counters.kind;
}

void rest() {
  std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

class RequestStatistics : public test::LinkedTest, public testing::WithParamInterface<Counters> {
 protected:
  static std::int32_t submit(std::uint32_t session_id = 5) {
    return GetParam().kind.submit(session_id);
  }
  static void expect_counted(const LibraryCounters& counters, std::uint32_t requests,
                             std::uint32_t failures) {
    for (std::size_t n = 0; n < LibraryCounters::kWords; ++n) {
      if (n == GetParam().time_total || n == GetParam().time_max) continue;
      const std::uint32_t expected = n == GetParam().requests   ? requests
                                     : n == GetParam().failures ? failures
                                                                : 0;
      EXPECT_EQ(expected, counters.grown(n)) << "counter " << n;
    }
  }
  static std::uint32_t time_of(const LibraryCounters& counters) {
    return counters.grown(GetParam().time_total);
  }
};

std::string counters_name(const testing::TestParamInfo<Counters>& info) {
  return info.param.kind.name;
}

INSTANTIATE_TEST_SUITE_P(, RequestStatistics,
                         testing::Values(Counters{test::authentication, 0, 1, 2, 3},
                                         Counters{test::accounting, 4, 5, 6, 7}),
                         counters_name);

TEST_P(RequestStatistics, ASentRequestCountsAsARequest) {
  const LibraryCounters counters;
  EXPECT_EQ(0, submit());
  expect_counted(counters, 1, 0);
}

TEST_P(RequestStatistics, AQueuedRequestCountsAsARequest) {
  const test::QueueInUse queue;
  const LibraryCounters counters;
  EXPECT_EQ(0, submit());
  expect_counted(counters, 1, 0);
}

TEST_P(RequestStatistics, SessionId0CountsAsARequestAndAFailure) {
  const LibraryCounters counters;
  submit(0);
  expect_counted(counters, 1, 1);
}

TEST_P(RequestStatistics, AFailedEncodingCountsAsAFailure) {
  script(test::memory_for(0));
  const LibraryCounters counters;
  submit();
  expect_counted(counters, 1, 1);
}

TEST_P(RequestStatistics, AFailedFramingCountsAsAFailure) {
  script(test::memory_for(1));
  const LibraryCounters counters;
  submit();
  expect_counted(counters, 1, 1);
}

TEST_P(RequestStatistics, AFailedSendCountsAsAFailure) {
  next_write_fails(EPIPE);
  const LibraryCounters counters;
  submit();
  expect_counted(counters, 1, 1);
}

TEST_P(RequestStatistics, RequestsThatAreNotTriedCountNothing) {
  const LibraryCounters counters;
  GetParam().kind.submit_nothing();
  aaa::set_reg_state(AAA_REG_LOST);
  submit();
  EXPECT_TRUE(counters.all_unchanged());
}

TEST_P(RequestStatistics, TheTimeOfTheSendIsKept) {
  const LibraryCounters counters;
  during_writes(rest);
  submit();
  EXPECT_GE(time_of(counters), 2000u);
  EXPECT_LT(time_of(counters), 10000000u);
}

TEST_P(RequestStatistics, TheLongestTimeIsKept) {
  aaa::store(LibraryCounters::word(GetParam().time_max), 0U);
  const LibraryCounters counters;
  during_writes(rest);
  submit();
  const std::uint32_t longest = time_of(counters);
  EXPECT_EQ(longest, counters.grown(GetParam().time_max));
}

TEST_P(RequestStatistics, TheTimeOfAFailedSendIsKept) {
  const LibraryCounters counters;
  during_writes(rest);
  next_write_fails(EPIPE);
  submit();
  EXPECT_GE(time_of(counters), 2000u);
}

TEST_P(RequestStatistics, TheTimeOfAFailedEncodingIsKept) {
  script({.malloc = [](std::size_t) {
    rest();
    return std::optional<void*>(nullptr);
  }});
  const LibraryCounters counters;
  submit();
  EXPECT_GE(time_of(counters), 2000u);
}

TEST_P(RequestStatistics, TheTimeOfRefusedSessionIdsIsKept) {
  const LibraryCounters counters;
  // Each takes a fraction of a microsecond; now and then one crosses a microsecond's edge.
  for (int i = 0; i < 50000; ++i)
    submit(0);
  EXPECT_GT(time_of(counters), 0u);
}

class AuthorizationStatistics : public test::LinkedTest {};

TEST_F(AuthorizationStatistics, NothingIsCountedOrTimed) {
  const LibraryCounters counters;
  during_writes(rest);
  EXPECT_EQ(0, test::authorization.submit(5));
  EXPECT_EQ(-22, test::authorization.submit(0));
  next_write_fails(EPIPE);
  EXPECT_EQ(-32, test::authorization.submit(5));
  EXPECT_TRUE(counters.all_unchanged());
}

}  // namespace
