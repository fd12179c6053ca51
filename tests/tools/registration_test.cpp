// How clients register, and how that can be made to fail.
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "sim_fixture.h"

namespace aaa_sim_test {
namespace {

using RegistrationTest = SimTest;

TEST_F(RegistrationTest, RequestSocketIsAnsweredWithTheAaaId) {
  sim_.change([](Settings& settings) { settings.aaa_id = 7; });
  RawConnection request = connect();
  request.send(register_request());
  EXPECT_EQ(request.receive(20), hex("01010101 00000000 64000000 04000000  07000000"));
}

TEST_F(RegistrationTest, EventSocketIsAnsweredWithTenStatusWords) {
  sim_.change([](Settings& settings) { settings.status = {1, 2, 3, 4, 5, 6, 7, 8, 9, 0x1234}; });
  RawConnection request = connect();
  request.send(register_request());
  request.receive(20);
  RawConnection event = connect();
  event.send(register_event());
  EXPECT_EQ(event.receive(56), hex("01010101 00000000 66000000 28000000"
                                   "01000000 02000000 03000000 04000000 05000000"
                                   "06000000 07000000 08000000 09000000 34120000"));
}

TEST_F(RegistrationTest, ClientCountsOnceBothSocketsAreRegistered) {
  RawConnection request = connect();
  request.send(register_request());
  request.receive(20);
  EXPECT_TRUE(sim_.clients().empty());
  RawConnection event = connect();
  event.send(register_event());
  ASSERT_TRUE(sim_.wait_for_clients(1));
  EXPECT_EQ(sim_.clients().front().model, "netd");
  EXPECT_EQ(sim_.clients().front().pid, ::getpid());
}

TEST_F(RegistrationTest, EventSocketFirstIsClosed) {
  RawConnection event = connect();
  event.send(register_event());
  EXPECT_TRUE(event.is_closed_by_peer());
  EXPECT_TRUE(sim_.wait_for_note("event connection registered first"));
  EXPECT_EQ(sim_.count(sent(102)), 0u);
}

TEST_F(RegistrationTest, EventSocketIsClosedWhenTheRequestSocketIsGone) {
  RawClient client = register_client();
  client.request.close();
  ASSERT_TRUE(sim_.wait_for_connections(1));
  RawConnection event = connect();
  event.send(register_event());
  EXPECT_TRUE(event.is_closed_by_peer());
}

TEST_F(RegistrationTest, RefusedClientGets255AndMayNotGoOn) {
  sim_.change([](Settings& settings) { settings.aaa_id = 255; });
  RawConnection request = connect();
  request.send(register_request());
  EXPECT_EQ(request.receive(20), hex("01010101 00000000 64000000 04000000  ff000000"));
  RawConnection event = connect();
  event.send(register_event());
  EXPECT_TRUE(event.is_closed_by_peer());
}

TEST_F(RegistrationTest, MessageBeforeRegistrationIsNotAnswered) {
  RawConnection request = connect();
  request.send(hex("01010101 00000000 84000000 00000000"));
  EXPECT_TRUE(request.is_closed_by_peer());
  EXPECT_TRUE(sim_.wait_for_note("not registered"));
}

TEST_F(RegistrationTest, ClientsAreToldApartByModelName) {
  const RawClient netd = register_client("netd");
  RawClient logd = register_client("logd");
  EXPECT_EQ(sim_.send_message({.model = "logd"}, Role::event, 122, 0), 1u);
  EXPECT_EQ(logd.event.receive(16), hex("01010101 00000000 7a000000 00000000"));
  EXPECT_EQ(sim_.send_message({}, Role::event, 122, 0), 2u);
}

struct BrokenRequest {
  const char* name;
  const char* bytes;
};

class BrokenRegistrationTest : public SimTest, public testing::WithParamInterface<BrokenRequest> {};

TEST_P(BrokenRegistrationTest, IsClosedWithARemark) {
  RawConnection request = connect();
  request.send(hex(GetParam().bytes));
  EXPECT_TRUE(request.is_closed_by_peer());
  EXPECT_TRUE(sim_.wait_for_note("broken register request"));
}

INSTANTIATE_TEST_SUITE_P(
    Bodies, BrokenRegistrationTest,
    testing::Values(BrokenRequest{"Empty", "01010101 00000000 00000000 00000000"},
                    BrokenRequest{"NoName", "01010101 00000000 00000000 02000000  31 00"},
                    BrokenRequest{"NoNul", "01010101 00000000 00000000 03000000  31 61 62"},
                    BrokenRequest{"OtherRole", "01010101 00000000 00000000 03000000  33 61 00"}),
    [](const auto& test) { return test.param.name; });

struct Spoilt {
  const char* name;
  Fault fault;
  const char* answer;
};

class SpoiltRegistrationTest : public SimTest, public testing::WithParamInterface<Spoilt> {};

TEST_P(SpoiltRegistrationTest, IsAnsweredAsChosen) {
  sim_.set_fault(Role::request, 0, GetParam().fault);
  RawConnection request = connect();
  request.send(register_request());
  const Bytes expected = hex(GetParam().answer);
  EXPECT_EQ(request.receive(expected.size()), expected);
  const bool closes = GetParam().fault == Fault::close || GetParam().fault == Fault::close_after;
  if (closes) {
    EXPECT_TRUE(request.is_closed_by_peer());
  } else {
    EXPECT_TRUE(request.stays_silent(std::chrono::milliseconds(50)));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Faults, SpoiltRegistrationTest,
    testing::Values(
        Spoilt{"None", Fault::none, "01010101 00000000 64000000 04000000  01000000"},
        Spoilt{"Silent", Fault::silent, ""},
        Spoilt{"WrongType", Fault::wrong_type, "01010101 00000000 67000000 04000000  01000000"},
        Spoilt{"EmptyBody", Fault::empty_body, "01010101 00000000 64000000 00000000"},
        Spoilt{"ShortBody", Fault::short_body, "01010101 00000000 64000000 02000000  0100"},
        Spoilt{"Close", Fault::close, ""},
        Spoilt{"CloseAfter", Fault::close_after, "01010101 00000000 64000000 04000000  01000000"}),
    [](const auto& test) { return test.param.name; });

TEST_F(RegistrationTest, EventAnswerCanBeSpoiltAlone) {
  sim_.set_fault(Role::event, 0, Fault::short_body);
  RawConnection request = connect();
  request.send(register_request());
  EXPECT_EQ(request.receive(20).size(), 20u);
  RawConnection event = connect();
  event.send(register_event());
  EXPECT_EQ(event.receive(36), hex("01010101 00000000 66000000 14000000"
                                   "01000000 00000000 00000000 00000000 00000000"));
}

TEST_F(RegistrationTest, SocketFileGoesWhenTheSimulatorStops) {
  EXPECT_TRUE(std::filesystem::exists(directory_.path() + "/security/aaa/.aaa_domain_socket_fs"));
  sim_.stop();
  EXPECT_FALSE(std::filesystem::exists(sim_.socket_path()));
}

TEST_F(RegistrationTest, StaleSocketFileIsReplaced) {
  test::TemporaryDirectory other;
  std::filesystem::create_directories(other.path() + "/security/aaa");
  aaa_sim::AaadSim sim(other.path());
  ASSERT_EQ(::link(sim_.socket_path().c_str(), sim.socket_path().c_str()), 0);
  sim_.stop();
  sim.start();
  const RawClient client(sim.socket_path());
  EXPECT_TRUE(sim.wait_for_clients(1));
}

TEST_F(RegistrationTest, SecondSimulatorInTheSameDirectoryDoesNotStart) {
  aaa_sim::AaadSim second(directory_.path());
  EXPECT_THROW(second.start(), std::system_error);
  EXPECT_TRUE(std::filesystem::exists(sim_.socket_path()));
}

TEST_F(RegistrationTest, SameClientAgainTakesThePlaceOfItsOldConnections) {
  RawClient old = register_client();
  RawClient current = register_client();
  EXPECT_EQ(sim_.clients().size(), 1u);
  EXPECT_EQ(sim_.send_message({}, Role::event, 122, 0), 1u);
  EXPECT_EQ(current.event.receive(16).size(), 16u);
  EXPECT_TRUE(old.event.stays_silent(std::chrono::milliseconds(20)));
}

TEST_F(RegistrationTest, RestartedSimulatorRegistersClientsAgain) {
  RawClient client = register_client();
  sim_.stop();
  EXPECT_TRUE(client.event.is_closed_by_peer());
  EXPECT_TRUE(sim_.clients().empty());
  sim_.start();
  const RawClient again = register_client();
  EXPECT_EQ(sim_.clients().size(), 1u);
  EXPECT_EQ(sim_.accepted_connections(), 4u);
}

}  // namespace
}  // namespace aaa_sim_test
