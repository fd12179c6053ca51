// Registrations that the client library does not make, and the socket file.
#include <unistd.h>

#include <filesystem>

#include "tools/sim_fixture.h"

namespace aaa_sim_test {
namespace {

using RegistrationTest = SimTest;

TEST_F(RegistrationTest, EventConnectionFirstIsClosed) {
  RawConnection event = connect();
  event.send(register_event());
  EXPECT_TRUE(event.is_closed_by_peer());
  EXPECT_TRUE(sim_.wait_for_note("event connection registered first"));
  EXPECT_EQ(sim_.count(sent(102)), 0u);
}

TEST_F(RegistrationTest, EventConnectionWithoutARequestConnectionIsClosed) {
  RawClient client = register_client();
  client.request.close();
  ASSERT_TRUE(sim_.wait_for_connections(1));
  RawConnection event = connect();
  event.send(register_event());
  EXPECT_TRUE(event.is_closed_by_peer());
}

TEST_F(RegistrationTest, MessageOfAnUnregisteredClientIsNotAnswered) {
  RawConnection request = connect();
  request.send(message_bytes(132));
  EXPECT_TRUE(request.is_closed_by_peer());
  EXPECT_TRUE(sim_.wait_for_note("not registered"));
}

TEST_F(RegistrationTest, RefusedClientIsAnsweredButNotRegistered) {
  sim_.change([](Settings& settings) { settings.aaa_id = 255; });
  RawConnection request = connect();
  request.send(register_request());
  EXPECT_EQ(request.receive(20), message_bytes(100, hex("ff000000")));
  RawConnection event = connect();
  event.send(register_event());
  EXPECT_TRUE(event.is_closed_by_peer());
}

TEST_F(RegistrationTest, BrokenRequestsAreClosedWithANote) {
  for (const char* body : {"", "31 00", "31 61 62", "33 61 00"}) {
    sim_.clear_messages();
    RawConnection request = connect();
    request.send(message_bytes(0, hex(body)));
    EXPECT_TRUE(request.is_closed_by_peer()) << body;
    EXPECT_TRUE(sim_.wait_for_note("broken register request")) << body;
  }
}

TEST_F(RegistrationTest, ShortBodyIsTheFirstHalfOfTheBody) {
  sim_.set_fault(Role::event, 0, Fault::short_body);
  RawConnection request = connect();
  request.send(register_request());
  EXPECT_EQ(request.receive(20).size(), 20u) << "faults go by role";
  RawConnection event = connect();
  event.send(register_event());
  EXPECT_EQ(event.receive(36), message_bytes(102, hex("01000000") + zeros(16)));
}

TEST_F(RegistrationTest, ClientsAreDistinguishedByModel) {
  RawClient netd = register_client("netd");
  RawClient logd = register_client("logd");
  EXPECT_EQ(sim_.send_message({.model = "logd"}, Role::event, 122, 0), 1u);
  EXPECT_EQ(logd.event.receive(16), message_bytes(122));
  EXPECT_EQ(sim_.send_message({.pid = 1}, Role::event, 122, 0), 0u);
  EXPECT_EQ(sim_.send_message({}, Role::event, 122, 0), 2u);
}

TEST_F(RegistrationTest, SecondRegistrationReplacesTheFirst) {
  RawClient old = register_client();
  RawClient current = register_client();
  EXPECT_EQ(sim_.clients().size(), 1u);
  EXPECT_EQ(sim_.send_message({}, Role::event, 122, 0), 1u);
  EXPECT_EQ(current.event.receive(16).size(), 16u);
  EXPECT_TRUE(old.event.stays_silent());
  old.request.send(message_bytes(132));
  EXPECT_TRUE(old.request.is_closed_by_peer());
}

TEST_F(RegistrationTest, SocketFileIsRemovedAtTheEndAndAStaleOneReplaced) {
  test::TemporaryDirectory other;
  std::filesystem::create_directories(other.path() + "/security/aaa");
  aaa_sim::AaadSim sim(other.path());
  ASSERT_EQ(::link(sim_.socket_path().c_str(), sim.socket_path().c_str()), 0);
  sim_.stop();
  EXPECT_FALSE(std::filesystem::exists(sim_.socket_path()));
  sim.start();
  const RawClient client(sim.socket_path());
  EXPECT_TRUE(sim.wait_for_clients(1));
}

}  // namespace
}  // namespace aaa_sim_test
