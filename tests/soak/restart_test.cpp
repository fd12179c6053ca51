// An aaad that is killed and started again, over and over, under the load of several clients.
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <list>
#include <optional>
#include <string>
#include <thread>

#include "soak/client_load.h"
#include "soak/link_events.h"
#include "soak/recovery.h"
#include "soak/sim_program.h"
#include "soak/soak_test.h"
#include "soak/thread_list.h"

namespace soak {
namespace {

using std::chrono::milliseconds;
using testing::IsEmpty;

constexpr milliseconds kLimit = recovery_time(kRetryPause);

SessionLedger* ledger_of_own_client = nullptr;

void note_own_result(result_info* result) {
  ledger_of_own_client->answered(result->sub.session_id);
}

struct OtherClient {
  OtherClient(const std::string& model_name, const std::string& kind, const std::string& output)
      : model(model_name), process({SOAK_CLIENT_PROGRAM, model_name, kind}, output) {}

  std::string model;
  ChildProcess process;

  std::string name() const { return model + "/" + std::to_string(process.pid()); }
};

class Restart : public WatchedTest {
 protected:
  void SetUp() override {
    WatchedTest::SetUp();
    forget_link_events();
    ledger_of_own_client = &ledger_;
    sim_.start();
    start_client("one", "plain");
    start_client("two", "batch");
    start_client("three", "wait");
    register_own_client();
  }

  void TearDown() override {
    load_.stop();
    others_.clear();
    test::stop_library();
    sim_.kill();
    WatchedTest::TearDown();
  }

  void start_client(const std::string& model, const std::string& kind) {
    others_.emplace_back(model, kind, directory() + "/" + model + ".out");
  }

  void register_own_client() {
    reg_info info = test::client("own");
    info.notify_result_cb = note_own_result;
    info.aaa_event_cb = note_link_event;
    ASSERT_EQ(0, aaa_svr_reg(&info));
    load_.start();
  }

  void expect_registered(const std::string& name, pid_t pid) {
    std::optional<double> seconds;
    EXPECT_TRUE(test::eventually(
        [&] { return (seconds = sim_.registered_after(name)).has_value(); }, 2 * kLimit))
        << name << " did not register";
    if (seconds) {
      EXPECT_LE(*seconds, std::chrono::duration<double>(kLimit).count()) << name;
      slowest_ = std::max(slowest_, *seconds);
    }
    EXPECT_TRUE(test::eventually([&] { return receive_threads_of(pid) == 1; }))
        << name << " has " << receive_threads_of(pid) << " receive threads";
  }

  void expect_all_registered() {
    expect_registered("own/" + std::to_string(getpid()), getpid());
    for (const OtherClient& client : others_)
      expect_registered(client.name(), client.process.pid());
  }

  Outage restart_sim() {
    std::this_thread::sleep_for(milliseconds(50 + random_.below(100)));
    Outage outage(clock_, kRetryPause);
    sim_.kill();
    EXPECT_THAT(sim_.disorder(), IsEmpty());
    std::this_thread::sleep_for(milliseconds(random_.below(300)));
    sim_.start();
    outage.end();
    return outage;
  }

  void end_other_clients() {
    for (OtherClient& client : others_)
      client.process.ask_to_end();
    for (OtherClient& client : others_)
      EXPECT_EQ(0, client.process.wait_for_end(test::kPatience)) << client.model;
  }

  void end_own_client() {
    load_.stop();
    EXPECT_EQ(0, aaa_svr_dereg());
    EXPECT_THAT(ledger_.complaints(), IsEmpty());
    EXPECT_THAT(link_event_complaints(), IsEmpty());
  }

  test::MovedClock clock_;
  SimProgram sim_{directory()};
  std::list<OtherClient> others_;
  SessionLedger ledger_{SimProgram::session_ids};
  ClientLoad load_{ledger_, {.threads = 4, .pause = std::chrono::microseconds(1000)}};
  Random random_{7};
  double slowest_ = 0;
};

TEST_F(Restart, EveryClientIsRegisteredAgainAfterEachOne) {
  const int restarts = slow_kill_cycles(6, 200);
  expect_all_registered();
  for (int n = 0; n < restarts; ++n) {
    const Outage outage = restart_sim();
    expect_all_registered();
    EXPECT_LE(outage.pauses_taken(), outage.most_pauses());
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
