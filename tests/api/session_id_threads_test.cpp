// Session ids for several threads, and across registrations, from a simulated aaad.
#include <set>

#include "support/library_test.h"

namespace test {
namespace {

class SessionIdThreads : public SimulatedTest {};

TEST_F(SessionIdThreads, NoIdIsGivenTwiceAndABlockIsFetchedOnce) {
  constexpr int kThreads = 8, kEach = 50;
  sim_.change([](Settings& settings) { settings.session_ids = 7; });
  register_client();
  const LibraryCounters counters;
  std::vector<std::uint32_t> ids[kThreads];
  on_threads(kThreads, [&](std::uint32_t n) {
    for (int i = 0; i < kEach; ++i)
      ids[n].push_back(aaa_get_session_id());
  });
  std::set<std::uint32_t> all;
  for (const auto& own : ids)
    all.insert(own.begin(), own.end());
  EXPECT_EQ(400u, all.size());
  EXPECT_EQ(1u, *all.begin());
  EXPECT_EQ(400u, *all.rbegin());
  EXPECT_EQ(58u, sim_.count(received(AAA_MSG_GET_SESSION_ID)));
  EXPECT_EQ(400u, counters.grown(8));
}

TEST_F(SessionIdThreads, TheBlockSurvivesDeregistration) {
  sim_.change([](Settings& settings) { settings.next_session_id = 100; });
  register_client();
  EXPECT_EQ(100u, aaa_get_session_id());
  ASSERT_EQ(0, aaa_svr_dereg());
  EXPECT_EQ(0u, aaa_get_session_id());
  register_client();
  EXPECT_EQ(101u, aaa_get_session_id());
  EXPECT_EQ(1u, sim_.count(received(AAA_MSG_GET_SESSION_ID)));
}

TEST_F(SessionIdThreads, TheBlockSurvivesALostConnection) {
  sim_.change([](Settings& settings) { settings.next_session_id = 100; });
  register_client();
  EXPECT_EQ(100u, aaa_get_session_id());
  sim_.close_connections();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED)) << "not registered again";
  EXPECT_EQ(101u, aaa_get_session_id());
  EXPECT_EQ(1u, sim_.count(received(AAA_MSG_GET_SESSION_ID)));
}

}  // namespace
}  // namespace test
