// An aaad that is killed and started again, over and over, under the load of several clients.
#include <algorithm>
#include <cstdio>
#include <list>

#include "soak/recovery.h"

namespace soak {
namespace {

class Restart : public RestartTest {
 protected:
  Restart() : RestartTest(7, {}) {}

  void SetUp() override {
    WatchedTest::SetUp();
    sim_.start();
    for (const char* kind : {"plain", "batch", "wait"})
      others_.emplace_back(SOAK_CLIENT_PROGRAM, std::vector<std::string>{kind, kind}, directory());
    for (test::ChildProgram& client : others_)
      ASSERT_EQ("registered\n", client.output_line());
    reg_info info = test::client("own");
    info.notify_result_cb = SessionLedger::note_result;
    info.aaa_event_cb = note_link_event;
    ASSERT_EQ(0, aaa_svr_reg(&info));
    load_.start();
  }

  void TearDown() override {
    load_.stop();
    others_.clear();
    test::stop_library();
    sim_.kill();
    WatchedTest::TearDown();
  }

  void expect_registered(const std::string& model, pid_t pid) {
    constexpr milliseconds limit = recovery_time(kRetryPause);
    std::optional<double> seconds;
    EXPECT_TRUE(test::eventually(
        [&] {
          seconds = sim_.registered_after(model + "/" + std::to_string(pid));
          return seconds.has_value();
        },
        2 * limit))
        << model << " did not register";
    EXPECT_LE(seconds.value_or(0), std::chrono::duration<double>(limit).count()) << model;
    slowest_ = std::max(slowest_, seconds.value_or(0));
    EXPECT_TRUE(test::eventually([&] { return test::receive_threads_of(pid) == 1; }))
        << model << " has " << test::receive_threads_of(pid) << " receive threads";
  }

  void expect_all_registered() {
    expect_registered("own", getpid());
    auto client = others_.begin();
    for (const char* kind : {"plain", "batch", "wait"})
      expect_registered(kind, client++->pid());
  }

  void end_other_clients() {
    for (test::ChildProgram& client : others_)
      client.close_input();
    for (test::ChildProgram& client : others_)
      EXPECT_EQ(0, client.exit_status(3 * test::kPatience)) << client.remaining_errors();
  }

  void end_own_client() {
    load_.stop();
    EXPECT_EQ(0, aaa_svr_dereg());
    EXPECT_THAT(ledger_.complaints(), IsEmpty());
    EXPECT_THAT(link_event_complaints(), IsEmpty());
  }

  std::list<test::ChildProgram> others_;
  SessionLedger ledger_{SimProgram::session_ids};
  ClientLoad load_{ledger_, {.threads = 4, .pause = std::chrono::microseconds(1000)}};
  double slowest_ = 0;
};

TEST_F(Restart, EveryClientIsRegisteredAgainAfterEachOne) {
  const int restarts = slow_kill_cycles(6, 200);
  expect_all_registered();
  for (int n = 0; n < restarts; ++n) {
    const milliseconds before(50 + random_.below(100)), away(random_.below(300));
    const Outage outage = restart_sim(kRetryPause, before, away);
    expect_all_registered();
    outage.expect_no_needless_pause();
    ASSERT_EQ(n + 1u, link_events(AAA_EVENT_CONNECTION_LOST));
    ASSERT_TRUE(test::eventually([&] { return link_events(AAA_EVENT_REREGISTERED) == n + 1u; }));
  }
  end_other_clients();
  end_own_client();
  EXPECT_THAT(sim_.disorder(), IsEmpty());
  std::printf("%d restarts, %zu requests of the own client, slowest registration %.3f s\n",
              restarts, ledger_.requests(), slowest_);
}

}  // namespace
}  // namespace soak
