// Requests to one server, and its replies.
#include "radius/radius_fixture.h"

#include <netinet/in.h>

#include <algorithm>
#include <set>

namespace radius_test {
namespace {

using RequestTest = RadiusTest;

std::uint16_t source_port(const Datagram& datagram) {
  return ntohs(reinterpret_cast<const sockaddr_in*>(&datagram.from)->sin_port);
}

TEST_F(RequestTest, LoginIsDecidedByTheServer) {
  start();
  log_in(7);
  const Datagram request = server_.receive();
  EXPECT_EQ(request.bytes[0], 1);
  EXPECT_EQ(part(request.bytes, 20, 2), hex("5012"));
  EXPECT_EQ(value_of(request.bytes, 1), text("nemo"));
  EXPECT_EQ(reveal_password(request.bytes, kSecret), text("arctangent") + Bytes(6));
  Bytes unsigned_request = request.bytes;
  std::fill_n(unsigned_request.begin() + 22, 16, std::uint8_t{0});
  EXPECT_EQ(value_of(request.bytes, 80), hmac(unsigned_request, kSecret));
  server_.send(reply_to(request.bytes, 2, attribute(18, "Welcome")), request);
  const Result answer = result();
  EXPECT_EQ(answer.id, 7u);
  EXPECT_EQ(answer.code, 0u);
  EXPECT_EQ(answer.user, "nemo");
  EXPECT_EQ(answer.message, "Welcome");
  EXPECT_EQ(counters().requests, 1u);
  EXPECT_EQ(counters().replies, 1u);
}

TEST_F(RequestTest, RejectAndChallengeAreResults) {
  start();
  log_in(7);
  Datagram request = server_.receive();
  server_.send(reply_to(request.bytes, 3), request);
  EXPECT_EQ(result().code, 1u);
  log_in(8);
  request = server_.receive();
  server_.send(reply_to(request.bytes, 11, attribute(24, "s") + attribute(18, "Token?")), request);
  const Result challenge = result();
  EXPECT_EQ(challenge.code, 3u);
  EXPECT_EQ(challenge.message, "Token?");
}

TEST_F(RequestTest, AuthenticatorsAreFresh) {
  start();
  std::set<Bytes> authenticators;
  for (std::uint32_t id = 1; id <= 20; ++id) {
    log_in(id);
    authenticators.insert(part(server_.accept_next().bytes, 4, 16));
    result();
  }
  EXPECT_EQ(authenticators.size(), 20u);
}

TEST_F(RequestTest, SameBytesAreSentAgain) {
  radius_.timeout = milliseconds(100);
  radius_.tries = 10;
  start();
  log_in(7);
  const Datagram first = server_.receive();
  const Datagram second = server_.receive();
  EXPECT_EQ(first.bytes, second.bytes);
  server_.send(reply_to(first.bytes, 2), first);
  EXPECT_EQ(result().code, 0u);
  EXPECT_GE(counters().resent, 1u);
}

TEST_F(RequestTest, AccountingIsAcknowledged) {
  start();
  account(7, 1);
  const Datagram request = server_.receive();
  EXPECT_EQ(request.bytes[0], 4);
  EXPECT_EQ(part(request.bytes, 4, 16),
            digest(part(request.bytes, 0, 4) + Bytes(16) +
                   part(request.bytes, 20, request.bytes.size() - 20) + text(kSecret)));
  EXPECT_EQ(value_of(request.bytes, 40), hex("00000001"));
  server_.send(reply_to(request.bytes, 5, {}, kSecret, Signature::none), request);
  EXPECT_EQ(result().code, 0u);
}

// They are sent first; when the result is there they have been looked at.
TEST_F(RequestTest, UnauthenticRepliesAreDroppedAndCounted) {
  start();
  log_in(7);
  const Datagram request = server_.receive();
  Bytes other_identifier = request.bytes;
  ++other_identifier[1];
  ScriptedServer foreigner;
  foreigner.send(reply_to(request.bytes, 3), source_port(request));
  const Bytes accept = reply_to(request.bytes, 3);
  for (const Bytes& bad : {
           reply_to(other_identifier, 3),
           part(accept, 0, 1),
           part(accept, 0, 19),
           part(accept, 0, accept.size() - 1),
           reply_to(request.bytes, 5),
           reply_to(request.bytes, 3, {}, "other"),
           reply_to(request.bytes, 3, {}, kSecret, Signature::none),
           reply_to(request.bytes, 3, {}, kSecret, Signature::twice),
           reply_to(request.bytes, 3, {}, kSecret, Signature::wrong),
           reply_to(request.bytes, 3, {}, kSecret, Signature::too_short),
       })
    server_.send(bad, request);
  server_.send(Bytes{}, request);
  server_.send(reply_to(request.bytes, 2), request);
  EXPECT_EQ(result().code, 0u);
  server_.send(reply_to(request.bytes, 2), request);
  wait_for(&Counters::unexpected, 2);
  const Counters dropped = counters();
  EXPECT_EQ(dropped.malformed, 4u);
  EXPECT_EQ(dropped.wrong_code, 1u);
  EXPECT_EQ(dropped.wrong_authenticator, 1u);
  EXPECT_EQ(dropped.no_message_authenticator, 1u);
  EXPECT_EQ(dropped.wrong_message_authenticator, 3u);
  EXPECT_EQ(dropped.replies, 1u);
  EXPECT_THAT(describe(sim_->reports()), HasSubstr("radius unexpected 2\nradius malformed 4\n"));
}

TEST_F(RequestTest, LateReplyIsDropped) {
  radius_.timeout = milliseconds(30);
  start();
  log_in(7);
  const Datagram request = server_.receive();
  EXPECT_EQ(result().code, 4u);
  server_.send(reply_to(request.bytes, 2), request);
  wait_for(&Counters::unexpected, 1);
  EXPECT_EQ(counters().unanswered, 1u);
  authorize(7);
  EXPECT_EQ(result().code, 1u);
}

TEST_F(RequestTest, UnsignedRepliesCanBeAllowed) {
  radius_.allow_unsigned_replies = true;
  start();
  EXPECT_THAT(lines(), HasSubstr("replies without a Message-Authenticator are accepted"));
  log_in(7);
  const Datagram request = server_.receive();
  server_.send(reply_to(request.bytes, 3, {}, kSecret, Signature::wrong), request);
  server_.send(reply_to(request.bytes, 2, {}, kSecret, Signature::none), request);
  EXPECT_EQ(result().code, 0u);
  EXPECT_EQ(counters().wrong_message_authenticator, 1u);
}

TEST_F(RequestTest, OthersAreServedMeanwhile) {
  start();
  log_in(7);
  const Datagram first = server_.receive();
  log_in(8);
  server_.accept_next();
  EXPECT_EQ(result().id, 8u);
  send(framed(3, Bytes(8)));
  EXPECT_EQ(client_->request.receive_message().size(), 24u);
  server_.send(reply_to(first.bytes, 2), first);
  EXPECT_EQ(result().id, 7u);
}

TEST_F(RequestTest, ClientThatHasGoneGetsNoResult) {
  start();
  log_in(7);
  const Datagram request = server_.receive();
  client_->request.close();
  client_->event.close();
  ASSERT_TRUE(sim_->wait_for_connections(0));
  server_.send(reply_to(request.bytes, 2), request);
  wait_for(&Counters::replies, 1);
  client_.emplace(sim_->socket_path());
  establish(8);
}

// The client has given up waiting, and may ask again for the same session.
TEST_F(RequestTest, AnswerOfAClearedSessionIsDropped) {
  start();
  log_in(7);
  const Datagram first = server_.receive();
  send(framed(19, hex("00000007")));
  log_in(7);
  const Datagram second = server_.receive();
  server_.send(reply_to(first.bytes, 3), first);
  server_.send(reply_to(second.bytes, 2), second);
  EXPECT_EQ(result().code, 0u);
  EXPECT_EQ(counters().replies, 2u);
  EXPECT_TRUE(client_->event.stays_silent());
}

TEST_F(RequestTest, StoppingForgetsRequests) {
  start();
  log_in(7);
  const Datagram request = server_.receive();
  sim_->stop();
  sim_->start();
  client_.emplace(sim_->socket_path());
  establish(8);
}

TEST_F(RequestTest, Ipv6) {
  ScriptedServer server(0, "::1");
  radius_.servers = {{"::1", server.port(), server.port(), kSecret}};
  start();
  log_in(7);
  server.accept_next();
  EXPECT_EQ(result().code, 0u);
}

TEST_F(RequestTest, RequestsThatDoNotGoToServersAreAnsweredByTheSimulator) {
  radius_.authentication = false;
  start();
  sim_->add_user({.name = "nemo", .password = kPassword});
  log_in(7);
  EXPECT_EQ(result().code, 0u);
  account(7, 1);
  const Datagram request = server_.receive();
  EXPECT_EQ(request.bytes[0], 4);
  server_.send(reply_to(request.bytes, 5), request);
  EXPECT_EQ(result().code, 0u);
}

TEST_F(RequestTest, AccountingCanStayHere) {
  radius_.accounting = false;
  start();
  account(7, 1);
  EXPECT_EQ(result().code, 0u);
  EXPECT_TRUE(server_.stays_silent());
  EXPECT_THAT(describe(sim_->reports()), HasSubstr("accounting start session 7 user nemo\n"));
}

TEST_F(RequestTest, UnknownHostIsAnErrorAtTheStart) {
  radius_.servers = {{"256.1.1.1.", 1, 1, kSecret}};
  Settings settings;
  settings.radius = radius_;
  aaa_sim::AaadSim sim(directory_.path(), settings);
  EXPECT_THROW(sim.start(), std::runtime_error);
}

}  // namespace
}  // namespace radius_test
