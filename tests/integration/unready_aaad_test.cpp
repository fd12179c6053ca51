// An aaad that is not there yet, refuses, answers wrongly or dies while the client registers.
#include "session/state/client_state.h"
#include "support/login.h"

namespace {

using aaa_sim::Fault;
using aaa_sim::Role;

class UnreadyAaad : public test::LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    test::forgo_heartbeats(sim_);
    sim_.add_user(test::alice());
    clock_.shorten_sleeps();
  }
  void TearDown() override {
    test::stop_library();
    sim_.stop();
    LibraryTest::TearDown();
  }

  static void register_client() {
    const reg_info info = test::client_with(test::ResultBy::waiting);
    EXPECT_EQ(0, aaa_svr_reg(&info));
    EXPECT_TRUE(test::wait_for_event(AAA_EVENT_REGISTERED));
  }
  static void expect_out_of_service() {
    EXPECT_EQ(0, aaa_is_alive());
    EXPECT_EQ(0u, aaa_get_session_id());
    EXPECT_EQ(-1, test::request_login(1, "alice", "secret"));
    EXPECT_EQ(-1, aaa_clear_req_user(1));
  }

  test::MovedClock clock_;
  aaa_sim::AaadSim sim_{directory()};
};

TEST_F(UnreadyAaad, AClientMayStartBeforeIt) {
  register_client();
  expect_out_of_service();
  sim_.start();
  test::expect_service_again();
}

TEST_F(UnreadyAaad, AWaitForAResultWithoutItRunsOutOfTime) {
  register_client();
  result_info* result = nullptr;
  EXPECT_EQ(-22, aaa_user_get_result(5, 0, 0, &result));
}

TEST_F(UnreadyAaad, AClientThatItRefusesGoesOnTrying) {
  sim_.change([](aaa_sim::Settings& settings) { settings.aaa_id = 255; });
  sim_.start();
  register_client();
  expect_out_of_service();
  sim_.change([](aaa_sim::Settings& settings) { settings.aaa_id = 7; });
  test::expect_service_again();
  EXPECT_EQ(7, aaa::load(g_aaa_client_cb.aaa_id));
}

struct Trouble {
  const char* name;
  Role role;
  Fault fault;
};

std::ostream& operator<<(std::ostream& out, const Trouble& trouble) {
  return out << trouble.name;
}

class UnreadyAaadTrouble : public UnreadyAaad, public testing::WithParamInterface<Trouble> {
 protected:
  void set_fault(Fault fault) { sim_.set_fault(GetParam().role, AAA_MSG_REGISTER_REQ, fault); }
};

INSTANTIATE_TEST_SUITE_P(
    , UnreadyAaadTrouble,
    testing::Values(Trouble{"WrongAnswerOnTheRequestSocket", Role::request, Fault::wrong_type},
                    Trouble{"WrongAnswerOnTheEventSocket", Role::event, Fault::wrong_type},
                    Trouble{"EmptyAnswerOnTheRequestSocket", Role::request, Fault::empty_body},
                    Trouble{"EmptyAnswerOnTheEventSocket", Role::event, Fault::empty_body},
                    Trouble{"DyingBeforeTheFirstAnswer", Role::request, Fault::close},
                    Trouble{"DyingAfterTheFirstAnswer", Role::request, Fault::close_after},
                    Trouble{"DyingBeforeTheSecondAnswer", Role::event, Fault::close}),
    [](const auto& trouble) { return trouble.param.name; });

TEST_P(UnreadyAaadTrouble, AtTheStartIsOvercomeOnceItIsOver) {
  set_fault(GetParam().fault);
  sim_.start();
  register_client();
  EXPECT_TRUE(test::eventually([&] { return sim_.accepted_connections() >= 3; })) << "no retry";
  EXPECT_EQ(0, aaa_is_alive());
  set_fault(Fault::none);
  test::expect_service_again();
}

TEST_P(UnreadyAaadTrouble, AfterALossIsOvercomeOnceItIsOver) {
  sim_.start();
  register_client();
  test::expect_service();
  set_fault(GetParam().fault);
  const std::size_t before = sim_.accepted_connections();
  sim_.close_connections();
  EXPECT_TRUE(test::wait_for_event(AAA_EVENT_CONNECTION_LOST)) << "loss not told";
  EXPECT_TRUE(test::eventually([&] { return sim_.accepted_connections() >= before + 3; }))
      << "no retry";
  set_fault(Fault::none);
  test::expect_service_again();
}

}  // namespace
