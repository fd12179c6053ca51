// aaa-dissect --tap, with clients that use the library: in this process, and aaa-probe.
#include <memory>
#include <thread>

#include "dissect/tap_fixture.h"
#include "support/library_test.h"
#include "support/login.h"

namespace dissect_test {
namespace tap_clients {

using test::ResultBy;

class TappedClient : public test::LibraryTest {
 protected:
  TappedClient() {
    sim_.add_user(test::alice());
    sim_.start();
    tap_.emplace(directory(), daemon_directory_.path(), std::vector<std::string>{"--quiet"});
  }
  void register_client(ResultBy way, bool batching = false) {
    const reg_info info = test::client_with(way, batching);
    ASSERT_EQ(0, aaa_svr_reg(&info));
    ASSERT_EQ(1, aaa_is_alive());
  }
  void expect_same_number(std::uint32_t type, std::size_t at_daemon) {
    EXPECT_EQ(tap_->captured(type), at_daemon) << "messages of type " << type;
  }

  std::unique_ptr<BoundProgram> start_probe(std::vector<std::string> options) {
    options.insert(options.begin(), {"login", "alice", "--password-file", password_});
    return std::make_unique<BoundProgram>(AAA_PROBE_PROGRAM, std::move(options), directory());
  }

  void SetUp() override { write_file(password_, "secret\n"); }
  void TearDown() override {
    LibraryTest::TearDown();
    tap_.reset();
    sim_.stop();
  }

  const std::string password_ = directory() + "/password";
  const test::TemporaryDirectory daemon_directory_;
  aaa_sim::AaadSim sim_{daemon_directory_.path()};
  std::optional<Tap> tap_;
};

class TappedLogin : public TappedClient, public testing::WithParamInterface<ResultBy> {};

INSTANTIATE_TEST_SUITE_P(, TappedLogin, testing::Values(ResultBy::waiting, ResultBy::callback),
                         [](const auto& way) {
                           return way.param == ResultBy::waiting ? "Waiting" : "CalledBack";
                         });

TEST_P(TappedLogin, IsAcceptedAndAHeartbeatPasses) {
  register_client(GetParam());
  test::expect_service(GetParam());
  ASSERT_TRUE(sim_.wait_for_message(aaa_sim::sent(132))) << "no heartbeat";
  EXPECT_EQ(0, aaa_svr_dereg());
  ASSERT_TRUE(sim_.wait_for_connections(0));
  tap_->end();
  for (const std::uint32_t type : {0u, 2u, 3u, 5u, 100u, 101u, 102u, 103u, 132u})
    expect_same_number(type, sim_.count([type](const auto& m) { return m.header.type == type; }));
}

TEST_P(TappedLogin, GoesOnWhenTheDaemonComesBack) {
  test::MovedClock clock;
  clock.shorten_sleeps();
  register_client(GetParam());
  for (std::size_t times = 1; times <= 3; ++times) {
    sim_.stop();
    ASSERT_TRUE(test::wait_for_event(AAA_EVENT_CONNECTION_LOST, times)) << "loss not told";
    sim_.start();
    test::expect_service_again(GetParam(), times);
  }
}

TEST_P(TappedLogin, SurvivesInBatches) {
  register_client(GetParam(), true);
  constexpr std::size_t kLogins = 20;
  for (std::size_t i = 0; i < kLogins; ++i)
    test::expect_service(GetParam());
  EXPECT_EQ(0, aaa_svr_dereg());
  tap_->end();
  EXPECT_EQ(sim_.count(aaa_sim::received(5)), kLogins);
  EXPECT_EQ(tap_->captured(5), 0u) << "all are in batches";
  expect_same_number(25, sim_.count(aaa_sim::received(25)));
  expect_same_number(103, kLogins);
}

TEST_F(TappedClient, ResultsOf200KilobytesPass) {
  sim_.set_answer(5, [](const aaa_sim::Request& request) -> aaa_sim::Replies {
    std::string body = test::item_bytes(1, std::string(1280, '\0'));
    body.replace(4 + 572, 4, word_bytes(request.header.id));
    for (const char filling : {'a', 'b', 'c'})
      body += test::item_bytes(25, std::string(65535, filling));
    return {{aaa_sim::Role::event, 103, request.header.id, test::sim_bytes(body)}};
  });
  register_client(ResultBy::callback);
  for (int i = 0; i < 10; ++i) {
    const test::Verdict verdict = test::log_in("alice", "secret", ResultBy::callback);
    EXPECT_EQ(verdict.code, 0u) << i;
    EXPECT_EQ(verdict.class_attribute.size(), 65535u) << i;
  }
  EXPECT_EQ(0, aaa_svr_dereg());
  tap_->end();
  EXPECT_EQ(tap_->captured(103), 10u);
}

TEST_F(TappedClient, AKilledClientLeavesTheOthers) {
  {
    const auto load = start_probe({"--repeat", "1000000", "--parallel", "8"});
    ASSERT_TRUE(sim_.wait_for_message(aaa_sim::received(5), std::chrono::seconds(10), 100));
    load->signal(SIGKILL);
    EXPECT_EQ(load->exit_status(), -1);
  }
  EXPECT_TRUE(sim_.wait_for_connections(0));
  const auto login = start_probe({});
  EXPECT_EQ(login->exit_status(), 0) << login->remaining_errors();
  tap_->end();
}

TEST_F(TappedClient, TwentyClientsAtOnceGetTheirResults) {
  std::vector<std::unique_ptr<BoundProgram>> clients;
  for (int i = 0; i < 20; ++i)
    clients.push_back(start_probe({"--repeat", "20"}));
  for (const auto& client : clients)
    EXPECT_EQ(client->exit_status(), 0) << client->remaining_errors();
  tap_->end();
  expect_same_number(0, 40);
  expect_same_number(5, 400);
  expect_same_number(103, 400);
}

TEST_F(TappedClient, ALoadPasses) {
  const auto load = start_probe({"--repeat", "300", "--parallel", "8"});
  EXPECT_THAT(load->remaining_output(), HasSubstr("accepted: 300\n"));
  EXPECT_EQ(load->exit_status(), 0);
  tap_->end();
  expect_same_number(5, 300);
  expect_same_number(103, 300);
}

}  // namespace tap_clients
}  // namespace dissect_test
