// Several threads of a client at once.
#include <atomic>
#include <set>
#include <thread>

#include "support/library_counters.h"
#include "support/login.h"

namespace {

using aaa_sim::received;

class ClientThreads : public test::SimulatedTest, public testing::WithParamInterface<bool> {
 protected:
  static constexpr int kThreads = 4, kLogins = 25;

  void SetUp() override {
    SimulatedTest::SetUp();
    clock_.shorten_sleeps();
    test::forgo_heartbeats(sim_);
    sim_.add_user(test::alice());
    sim_.change([](aaa_sim::Settings& settings) { settings.session_ids = 3; });
    register_client(test::client_with(test::ResultBy::callback, GetParam()));
    wait_for_receive_thread();
  }

  // Each thread takes ids; every other one is used for a request.
  void run(const std::function<void()>& meanwhile = [] {}) {
    std::vector<std::thread> threads;
    for (auto& own : ids_)
      threads.emplace_back([this, &own] { work(own); });
    meanwhile();
    for (std::thread& thread : threads)
      thread.join();
  }
  // The ids given out, without failures, and how often one was given twice.
  std::size_t doubled() const {
    std::multiset<std::uint32_t> all;
    for (const auto& own : ids_)
      all.insert(own.begin(), own.end());
    all.erase(0);
    return all.size() - std::set<std::uint32_t>(all.begin(), all.end()).size();
  }

  void wait_for_receive_thread() {
    sim_.send_message({}, aaa_sim::Role::event, AAA_MSG_MLIST_CHANGE, 0);
    ASSERT_TRUE(test::wait_for_event(AAA_EVENT_METHOD_LISTS_CHANGED)) << "nobody reads events";
  }

  std::atomic<int> sent_ = 0;
  std::vector<std::uint32_t> ids_[kThreads];

 private:
  void work(std::vector<std::uint32_t>& own) {
    for (int i = 0; i < kLogins; ++i) {
      own.push_back(aaa_get_session_id());
      own.push_back(aaa_get_session_id());
      if (test::request_login(own.back(), "alice", "secret") == 0) ++sent_;
    }
  }

  test::MovedClock clock_;
};

INSTANTIATE_TEST_SUITE_P(, ClientThreads, testing::Bool(), [](const auto& batching) {
  return batching.param ? "Batched" : "Direct";
});

TEST_P(ClientThreads, NoIdIsDoubledAndEveryRequestGetsItsResult) {
  const test::LibraryCounters counters;
  run();
  EXPECT_EQ(0u, doubled());
  EXPECT_EQ(100u, counters.grown(0));
  EXPECT_EQ(kThreads * kLogins, sent_);
  EXPECT_TRUE(test::eventually([] { return test::called_back().size() == 100; }))
      << test::called_back().size() << " results";
  std::set<std::uint32_t> answered;
  for (const test::Verdict& verdict : test::called_back()) {
    EXPECT_EQ(test::kAccepted, verdict.code);
    answered.insert(verdict.session_id);
  }
  EXPECT_EQ(100u, answered.size());
  EXPECT_EQ(67u, sim_.count(received(AAA_MSG_GET_SESSION_ID)));
}

TEST_P(ClientThreads, NoIdIsDoubledWhenTheConnectionIsLostMeanwhile) {
  run([this] {
    sim_.wait_for_message(received(AAA_MSG_AUTHEN_REQ));
    sim_.close_connections();
  });
  EXPECT_EQ(0u, doubled());
  test::expect_service_again(test::ResultBy::callback);
}

}  // namespace
