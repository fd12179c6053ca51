// How many requests there may be, how long a password, and what a full or refusing port does.
#include <set>

#include "radius/client.h"
#include "radius/endpoint.h"
#include "radius/radius_fixture.h"

namespace radius_test {
namespace {

using LimitsTest = RadiusTest;

TEST_F(LimitsTest, The257thRequestWaits) {
  start();
  for (std::uint32_t id = 1; id <= 257; ++id)
    log_in(id);
  std::vector<Datagram> requests;
  std::set<std::uint8_t> identifiers;
  for (int n = 0; n < 256; ++n) {
    requests.push_back(server_.receive());
    identifiers.insert(requests.back().bytes.at(1));
  }
  EXPECT_EQ(identifiers.size(), 256u);
  EXPECT_TRUE(server_.stays_silent());
  server_.send(reply_to(requests[100].bytes, 2), requests[100]);
  const Datagram last = server_.receive();
  EXPECT_EQ(last.bytes[1], requests[100].bytes[1]);
  EXPECT_EQ(value_of(last.bytes, 44), text("00000101"));
  requests[100] = last;
  for (const Datagram& request : requests)
    server_.send(reply_to(request.bytes, 2), request);
  std::set<std::uint32_t> answered;
  for (int n = 0; n < 257; ++n)
    answered.insert(result().id);
  EXPECT_EQ(answered.size(), 257u);
}

// They arrive while the simulator is busy.
TEST_F(LimitsTest, RepliesToAllRequestsFitTheSocket) {
  start();
  for (std::uint32_t id = 1; id <= 256; ++id)
    log_in(id);
  std::vector<Datagram> requests;
  for (int n = 0; n < 256; ++n)
    requests.push_back(server_.receive());
  const Bytes message = attribute(18, std::string(200, 'm'));
  sim_->change([&](Settings&) {
    for (const Datagram& request : requests)
      server_.send(reply_to(request.bytes, 2, message), request);
  });
  wait_for(&Counters::replies, 256);
}

// Nothing is received: the loop does not run.
TEST(ClientLimitsTest, RequestsAreBounded) {
  const ScriptedServer server;
  const aaa_sim::radius::Settings settings{
      .servers = {{kLoopback, server.port(), server.port(), kSecret}}};
  Counters counters;
  aaa_sim::EventLoop loop;
  aaa_sim::radius::Client client(loop, settings, counters, [](const std::string&) {});
  std::size_t ended = 0;
  const auto submit = [&] {
    client.submit(aaa_sim::radius::Code::access_request, {},
                  [&ended](const aaa_sim::radius::Reply* reply) {
                    EXPECT_EQ(reply, nullptr);
                    ++ended;
                  });
  };
  for (std::size_t n = 0; n < client.max_requests; ++n)
    submit();
  EXPECT_EQ(ended, 0u);
  submit();
  EXPECT_EQ(ended, 1u);
  EXPECT_EQ(counters.unanswered, 1u);
}

// The error that an ICMP message left at the socket does not cost the next datagram.
TEST(EndpointTest, RefusalDoesNotTakeTheNextDatagramAlong) {
  const std::uint16_t port = free_port();
  aaa_sim::radius::Endpoint endpoint(own_address(), port, kSecret);
  endpoint.send(Bytes(20));
  ScriptedServer late(port, own_address());
  endpoint.send(Bytes(21));
  EXPECT_EQ(late.receive().bytes.size(), 21u);
}

TEST_F(LimitsTest, RefusalIsOnlyAHint) {
  const std::uint16_t port = free_port();
  radius_.servers = {{own_address(), port, port, kSecret}};
  radius_.timeout = milliseconds(50);
  radius_.tries = 60;
  start();
  log_in(7);
  const auto deadline = Clock::now() + milliseconds(3000);
  while (counters().refused == 0 && Clock::now() < deadline)
    std::this_thread::yield();
  EXPECT_GE(counters().refused, 1u);
  ScriptedServer late(port, own_address());
  late.accept_next();
  EXPECT_EQ(result().code, 0u);
}

TEST_F(LimitsTest, LongestPasswordIsSent) {
  start();
  const std::string password = kPassword + std::string(118, 'p');
  log_in(7, "nemo", password);
  EXPECT_EQ(reveal_password(server_.accept_next().bytes, kSecret), text(password));
  EXPECT_EQ(result().code, 0u);
}

TEST_F(LimitsTest, EmptyPasswordIsSixteenBytes) {
  start();
  log_in(7, "nemo", "");
  EXPECT_EQ(reveal_password(server_.accept_next().bytes, kSecret), Bytes(16));
  EXPECT_EQ(result().code, 0u);
}

TEST_F(LimitsTest, UnsendableRequestsAreRejected) {
  start();
  log_in(7, "nemo", kPassword + std::string(119, 'p'));
  const Result refused = result();
  EXPECT_EQ(refused.code, 1u);
  EXPECT_THAT(refused.message, HasSubstr("attribute 2 holds 128 bytes"));
  account(8, 9);
  EXPECT_EQ(result().code, 1u);
  for (const std::uint8_t type : {AAA_MSG_AUTHEN_REQ, AAA_MSG_ACCT_REQ}) {
    send_request(type, 9, Bytes(5));
    EXPECT_THAT(result().message, HasSubstr("cannot be read"));
  }
  EXPECT_EQ(counters().requests, 0u);
  establish(10);
}

}  // namespace
}  // namespace radius_test
