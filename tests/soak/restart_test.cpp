// An aaad that is killed and started again, over and over, under the load of several clients.
#include <algorithm>
#include <cstdio>
#include <list>

#include "soak/recovery.h"

namespace soak {
namespace {

// The model of each, a process of its own, is its kind.
constexpr const char* kKinds[] = {"plain", "batch", "wait"};

class Restart : public RestartTest {
 protected:
  Restart() : RestartTest(7, {}) {}

  void SetUp() override {
    WatchedTest::SetUp();
    sim_.start();
    for (const char* kind : kKinds)
      clients_.emplace_back(SOAK_CLIENT_PROGRAM, std::vector<std::string>{kind, kind}, directory());
    for (test::ChildProgram& client : clients_)
      ASSERT_EQ("registered\n", client.output_line());
  }

  void TearDown() override {
    clients_.clear();
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
    auto client = clients_.begin();
    for (const char* kind : kKinds)
      expect_registered(kind, client++->pid());
  }

  // Each says how often it was told of a loss.
  void expect_clients_end_well(std::size_t losses) {
    for (test::ChildProgram& client : clients_)
      client.close_input();
    for (test::ChildProgram& client : clients_) {
      EXPECT_EQ(0, client.exit_status(3 * test::kPatience)) << client.remaining_errors();
      EXPECT_THAT(client.remaining_output(),
                  testing::EndsWith(", " + std::to_string(losses) + " losses\n"));
    }
  }

  std::list<test::ChildProgram> clients_;
  double slowest_ = 0;
};

TEST_F(Restart, EveryClientIsRegisteredAgainAfterEachOne) {
  const int restarts = slow_kill_cycles(6, 200);
  expect_all_registered();
  for (int n = 0; n < restarts; ++n) {
    const milliseconds before(50 + random_.below(100)), away(random_.below(300));
    restart_sim(kRetryPause, before, away);
    expect_all_registered();
  }
  // The last is the deregistration.
  expect_clients_end_well(static_cast<std::size_t>(restarts) + 1);
  EXPECT_THAT(sim_.disorder(), IsEmpty());
  std::printf("%d restarts, slowest registration %.3f s\n", restarts, slowest_);
}

}  // namespace
}  // namespace soak
