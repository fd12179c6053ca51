// Disconnect-Requests and CoA-Requests.
#include "radius/radius_fixture.h"

namespace radius_test {
namespace {

class DynamicAuthorizationTest : public RadiusTest {
 protected:
  void SetUp() override {
    radius_.dynamic_authorization = {.address = own_address(), .port = port_, .secret = kSecret};
    start();
  }

  // Has the code and the authenticator of an answer to the request.
  Bytes ask(const Bytes& request) {
    asker_.send(request, port_, own_address());
    const Bytes answer = asker_.receive().bytes;
    Bytes as_signed = answer;
    std::copy_n(request.begin() + 4, 16, as_signed.begin() + 4);
    EXPECT_EQ(part(answer, 4, 16), digest(as_signed + text(kSecret)));
    EXPECT_EQ(answer[1], request[1]);
    return answer;
  }

  std::uint8_t code_of(std::uint8_t code, const Bytes& attributes) {
    return ask(dynamic_request(code, ++identifier_, attributes))[0];
  }

  // The Error-Cause of the answer.
  Bytes error_of(const Bytes& attributes) {
    return value_of(ask(dynamic_request(40, ++identifier_, attributes)), 101);
  }

  // The next message of the client is a disconnect notice for this session.
  void expect_notice(std::uint32_t id) {
    const Bytes notice = receive();
    ASSERT_EQ(notice.size(), 16u + 560u);
    EXPECT_EQ(word_at(notice, 8), 105u);
    EXPECT_EQ(word_at(notice, 16), 1u);
    EXPECT_EQ(word_at(notice, 20), id);
  }

  const std::uint16_t port_ = free_port();
  ScriptedServer asker_;
  std::uint8_t identifier_ = 0;
};

const Bytes kSession = attribute(44, "00000007");

TEST_F(DynamicAuthorizationTest, DisconnectRequestBecomesANotice) {
  establish(7);
  EXPECT_EQ(ask(hex("28 03 001e 7da30ca1206f5f38a017e6ff71ced9d5 2c0a 3030303030303037")),
            hex("29 03 0014 77afca7aed742913661d18ac2fda92e8"));
  EXPECT_EQ(receive(), framed(105, hex("01000000 07000000") + text("nemo") + Bytes(548)));
}

TEST_F(DynamicAuthorizationTest, CoaRequestBecomesANotice) {
  establish(7);
  EXPECT_EQ(ask(hex("2b 05 003c d6e70d58b1dddf9d41d61e611e2290f2 0106 6e656d6f"
                    "2c0a 3030303030303037 1b06 00000258 4006 0100000d 4106 01000006"
                    "5106 01 313030")),
            hex("2c 05 0014 bcda287f376c18153012a8690825e6b4"));
  EXPECT_EQ(receive(), framed(126, hex("07000000 58020000") + text("nemo") + Bytes(64) +
                                       hex("0d000000 06000000") + text("100") + Bytes(720 - 87)));
}

TEST_F(DynamicAuthorizationTest, UnknownSessionIsRefused) {
  EXPECT_EQ(ask(hex("28 03 001e 7da30ca1206f5f38a017e6ff71ced9d5 2c0a 3030303030303037")),
            hex("2a 03 001a 459682efa47d8022442df69c690aa2c2 6506 000001f7"));
  establish(7);
  EXPECT_EQ(error_of(attribute(44, "00000008")), hex("000001f7"));
  EXPECT_EQ(error_of(kSession + attribute(1, "outis")), hex("000001f7"));
  EXPECT_EQ(error_of(attribute(1, "outis")), hex("000001f7"));
  EXPECT_EQ(code_of(43, attribute(1, "outis")), 45);
}

// Session 0 is no session of a client, and what cannot be read is none either.
TEST_F(DynamicAuthorizationTest, UnreadableSessionIsUnknown) {
  establish(0);
  for (const char* session : {"", "7", "0000000x", "000000007", "-0000007"})
    EXPECT_EQ(error_of(attribute(44, session)), hex("000001f7")) << session;
}

TEST_F(DynamicAuthorizationTest, OtherNasIsRefused) {
  establish(7);
  EXPECT_EQ(error_of(kSession + attribute(32, "switch-2")), hex("00000193"));
  EXPECT_EQ(code_of(40, kSession + attribute(32, "aaad-sim")), 41);
}

// RFC 5176, 3.2: who cannot ask again refuses.
TEST_F(DynamicAuthorizationTest, AuthorizeOnlyIsRefused) {
  establish(7);
  const Bytes answer =
      ask(dynamic_request(43, 1, kSession + hex("0606 00000011") + attribute(24, "s")));
  EXPECT_EQ(answer[0], 45);
  EXPECT_EQ(value_of(answer, 101), hex("00000195"));
  EXPECT_TRUE(client_->event.stays_silent());
}

TEST_F(DynamicAuthorizationTest, RequestWithoutASessionIsRefused) {
  EXPECT_EQ(error_of({}), hex("00000192"));
}

TEST_F(DynamicAuthorizationTest, AllSessionsOfAUserAreMeant) {
  establish(7);
  establish(8);
  establish(9, "outis");
  EXPECT_EQ(code_of(40, attribute(1, "nemo")), 41);
  expect_notice(7);
  expect_notice(8);
  EXPECT_TRUE(client_->event.stays_silent());
}

TEST_F(DynamicAuthorizationTest, NameOfTheAcceptIsTheUsers) {
  log_in(7);
  const Datagram request = server_.receive();
  server_.send(reply_to(request.bytes, 2, attribute(1, "captain")), request);
  EXPECT_EQ(result().code, 0u);
  EXPECT_EQ(code_of(40, kSession + attribute(1, "captain")), 41);
}

TEST_F(DynamicAuthorizationTest, RequestIsRefusedWhenTheClientHasGone) {
  establish(7);
  client_->event.close();
  client_->request.close();
  ASSERT_TRUE(sim_->wait_for_connections(0));
  EXPECT_EQ(error_of(kSession), hex("000001f7"));
}

// The request arrives before the simulator has seen that the client's connections are closed.
TEST_F(DynamicAuthorizationTest, NoticeThatCannotBeWrittenIsNotAcknowledged) {
  establish(7);
  sim_->change([this](Settings&) {
    asker_.send(dynamic_request(40, 1, kSession), port_, own_address());
    client_->event.close();
    client_->request.close();
  });
  EXPECT_EQ(asker_.receive().bytes[0], 42);
}

TEST_F(DynamicAuthorizationTest, UnauthenticRequestsAreNotAnswered) {
  establish(7);
  asker_.send(dynamic_request(40, 1, kSession, "other"), port_, own_address());
  asker_.send(dynamic_request(40, 1, kSession, kSecret, Signature::wrong), port_, own_address());
  asker_.send(dynamic_request(40, 1, kSession, kSecret, Signature::twice), port_, own_address());
  asker_.send(dynamic_request(4, 1, kSession), port_, own_address());
  asker_.send(Bytes(3), port_, own_address());
  asker_.send(Bytes(), port_, own_address());
  EXPECT_EQ(code_of(40, kSession), 41);
  expect_notice(7);
  EXPECT_TRUE(client_->event.stays_silent());
}

TEST_F(DynamicAuthorizationTest, RepeatedRequestGetsTheSameAnswerAndOneNotice) {
  establish(7);
  const Bytes request = dynamic_request(40, 1, kSession);
  EXPECT_EQ(ask(request), ask(request));
  expect_notice(7);
  EXPECT_TRUE(client_->event.stays_silent());
  ask(dynamic_request(40, 2, kSession));
  expect_notice(7);
}

// A server has 256 identifiers only: an equal request is a new one some day.
TEST_F(DynamicAuthorizationTest, EqualRequestIsANewOneLater) {
  sim_->stop();
  sim_->change([](Settings& settings) {
    settings.radius.dynamic_authorization.repetition = milliseconds(1);
  });
  sim_->start();
  client_.emplace(sim_->socket_path());
  establish(7);
  const Bytes request = dynamic_request(40, 1, kSession);
  ask(request);
  expect_notice(7);
  std::this_thread::sleep_for(milliseconds(2));
  ask(request);
  expect_notice(7);
}

TEST_F(DynamicAuthorizationTest, SameRequestOfAnotherSourceIsANewOne) {
  establish(7);
  const Bytes request = dynamic_request(40, 1, kSession);
  ask(request);
  expect_notice(7);
  ScriptedServer other;
  other.send(request, port_, own_address());
  EXPECT_EQ(other.receive().bytes[0], 41);
  expect_notice(7);
}

TEST_F(DynamicAuthorizationTest, SignedRequestGetsASignedAnswer) {
  establish(7);
  Bytes answer = ask(dynamic_request(40, 1, kSession, kSecret, Signature::valid));
  EXPECT_EQ(answer[0], 41);
  const Bytes signature = value_of(answer, 80);
  ASSERT_EQ(signature.size(), 16u);
  std::fill_n(answer.begin() + 22, 16, std::uint8_t{0});
  const Bytes request = dynamic_request(40, 1, kSession, kSecret, Signature::valid);
  std::copy_n(request.begin() + 4, 16, answer.begin() + 4);
  EXPECT_EQ(signature, hmac(answer, kSecret));
}

// RFC 5176, 3.1: proxies find their way back by them.
TEST_F(DynamicAuthorizationTest, ProxyStatesAreReturnedInTheirOrder) {
  const Bytes proxies = attribute(33, "first") + attribute(33, "second");
  const Bytes answer = ask(dynamic_request(40, 1, kSession + proxies));
  EXPECT_EQ(part(answer, 20, answer.size() - 20), proxies + hex("6506 000001f7"));
}

TEST_F(DynamicAuthorizationTest, AnswerThatDoesNotFitAPacketIsNotSent) {
  Bytes proxies;
  for (int n = 0; n < 15; ++n)
    proxies = proxies + attribute(33, Bytes(253));
  asker_.send(dynamic_request(40, 1, kSession + proxies + attribute(33, Bytes(229))), port_,
              own_address());
  EXPECT_EQ(error_of(kSession), hex("000001f7"));
}

}  // namespace
}  // namespace radius_test
