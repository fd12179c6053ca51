// What the sample authenticator sends and takes, frame by frame.
#include "real/dot1x_fixture.h"

namespace dot1x_test {
namespace {

using testing::HasSubstr;

TEST_F(FramesTest, PassesTheIdentityOnWithTheAddresses) {
  start();
  send_identity();
  const auto message = sim_.wait_for_message(received(AAA_MSG_AUTHEN_REQ));
  ASSERT_TRUE(message);
  const LoginRecord login = login_in(*message);
  EXPECT_EQ(login->session_id, 1U);
  EXPECT_STREQ(login->chars65_a, "bob");
  EXPECT_EQ(text_of(login->eap_message), std::string("\x02\x02\x00\x08\x01"
                                                     "bob",
                                                     8));
  EXPECT_EQ(login->state.len, 0);
  EXPECT_EQ(login->num_b, ::if_nametoindex("port"));
  EXPECT_EQ(login->num_c, 15U);
  EXPECT_EQ(login->num_d, 2U);
  EXPECT_EQ(text_of(login->octets100_a), "port");
  EXPECT_EQ(text_of(login->octets128_a), "02-00-00-00-00-0A");
  EXPECT_THAT(text_of(login->octets100_b), testing::MatchesRegex("([0-9A-F]{2}-){5}[0-9A-F]{2}"));
}

TEST_F(FramesTest, PassesAChallengeOnAndRepeatsItsState) {
  answer_logins({{{.code = 3,
                   .session_id = 1,
                   .eap = std::string("\x01\x07\x00\x06\x04\x55", 6),
                   .state = "step two"}},
                 {{.code = 0, .session_id = 1, .eap = kSuccess, .session_class = "gold"}}});
  start();
  send_identity();
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 6, 1, 7, 0, 6, 4, 0x55));
  host_->send({2, 0, 0, 6, 2, 7, 0, 6, 4, 0x66});
  const auto message =
      sim_.wait_for_message(received(AAA_MSG_AUTHEN_REQ), aaa_sim::AaadSim::kTimeout, 1);
  ASSERT_TRUE(message);
  const LoginRecord login = login_in(*message);
  EXPECT_STREQ(login->chars65_a, "bob");
  EXPECT_EQ(text_of(login->state), "step two");
  EXPECT_EQ(text_of(login->eap_message), std::string("\x02\x07\x00\x06\x04\x66", 6));
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 3, 7, 0, 4));
  EXPECT_TRUE(dot1x_->prints("bob: port open, VLAN none, session timeout 0\n"));
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_ACCT_REQ)));
}

TEST_F(FramesTest, SendsTheLastRequestFourTimesAndGivesUp) {
  start();
  for (int i = 0; i < 3; ++i)
    EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 5, 1, 2, 0, 5, 1));
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, 2, 0, 4));
  EXPECT_TRUE(dot1x_->prints("02-00-00-00-00-0A: does not answer\n"));
}

TEST_F(FramesTest, DropsFramesThatAreNotWellFormedOrNotForTheQuestion) {
  start();
  host_->send({2, 0});
  host_->send({2, 0, 0, 9, 2, 2, 0, 8, 1, 'b', 'a', 'd'});
  host_->send({2, 0, 0, 8, 2, 2, 0, 9, 1, 'b', 'a', 'd'});
  host_->send({2, 0, 0, 4, 2, 2, 0, 4});
  host_->send({2, 0, 0, 8, 2, 2, 0, 3, 1, 'b', 'a', 'd'});
  host_->send({2, 0, 0, 8, 1, 2, 0, 8, 1, 'b', 'a', 'd'});
  host_->send({2, 0, 0, 8, 2, 9, 0, 8, 1, 'b', 'a', 'd'});
  host_->send({2, 0, 0, 8, 2, 2, 0, 8, 1, 'b', 'a', 'd'}, {2, 0, 0, 0, 0, 0x0b});
  send_identity();
  const auto message = sim_.wait_for_message(received(AAA_MSG_AUTHEN_REQ));
  ASSERT_TRUE(message);
  EXPECT_STREQ(login_in(*message)->chars65_a, "bob");
  EXPECT_EQ(sim_.count(received(AAA_MSG_AUTHEN_REQ)), 1U);
}

TEST_F(FramesTest, RefusesAnIdentityThatIsNoName) {
  start();
  host_->send({2, 0, 0, 5, 2, 2, 0, 5, 1});
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, 2, 0, 4));
  const Bytes name(65, 'n');
  host_->send({2, 1, 0, 0});
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 5, 1, 3, 0, 5, 1));
  host_->send(Bytes{2, 0, 0, 70, 2, 3, 0, 70, 1} + name);
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, 3, 0, 4));
  for (const std::uint8_t letter : {'\0', '\n', '\x1b', '\x7f'}) {
    host_->send({2, 1, 0, 0});
    const Bytes request = host_->receive();
    ASSERT_THAT(request, testing::SizeIs(9));
    host_->send({2, 0, 0, 8, 2, request[5], 0, 8, 1, 'b', letter, 'b'});
    EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, request[5], 0, 4));
  }
  EXPECT_EQ(sim_.count(received(AAA_MSG_AUTHEN_REQ)), 0U);
}

TEST_F(FramesTest, OpensForNoRecordOfZerosAndForNoOtherSession) {
  answer_logins({{{.code = 0, .session_id = 0},
                  {.code = 0, .session_id = 2, .eap = kSuccess},
                  {.code = 1, .session_id = 1}}});
  start();
  send_identity();
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, 2, 0, 4));
  EXPECT_TRUE(dot1x_->prints("bob: rejected\n"));
  EXPECT_THAT(dot1x_->output(), Not(HasSubstr("port open")));
}

// Without its Class the server could not tell whose accounting it is.
TEST_F(FramesTest, OpensForNoAcceptanceWhoseClassIsTooLong) {
  answer_logins(
      {{{.code = 0, .session_id = 1, .eap = kSuccess, .session_class = std::string(254, 'c')}}});
  start();
  send_identity();
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, 2, 0, 4));
  EXPECT_TRUE(dot1x_->prints("bob: State or Class is too long\n"));
}

TEST_F(FramesTest, OpensForNoVlanThatIsNoName) {
  answer_logins({{{.code = 0, .session_id = 1, .eap = kSuccess, .vlan = "4\nbob: port open"}}});
  start();
  send_identity();
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, 2, 0, 4));
  EXPECT_TRUE(dot1x_->prints("bob: the VLAN has no usable name\n"));
}

// Taken for the start of a session, such a frame would make the identity asked for twice.
TEST_F(FramesTest, BeginsNoSessionForOtherEapThanTheAnswerToItsInvitation) {
  host_->send({2, 0, 0, 8, 2, 7, 0, 8, 1, 'b', 'a', 'd'});
  host_->send({2, 0, 0, 8, 1, 1, 0, 8, 1, 'b', 'a', 'd'});
  host_->send({2, 0, 0, 4, 3, 1, 0, 4});
  start();
  send_identity();
  expect_request(AAA_MSG_AUTHEN_REQ);
}

TEST_F(FramesTest, TakesTheAnswerToItsInvitationForTheIdentity) {
  host_->send({2, 0, 0, 8, 2, 1, 0, 8, 1, 'b', 'o', 'b'});
  const auto message = sim_.wait_for_message(received(AAA_MSG_AUTHEN_REQ));
  ASSERT_TRUE(message);
  EXPECT_STREQ(login_in(*message)->chars65_a, "bob");
}

TEST_F(FramesTest, TakesNoBroadcastFrame) {
  host_->send({2, 1, 0, 0}, Supplicant::kOwn, Bytes(6, 0xff));
  start();
  send_identity();
  expect_request(AAA_MSG_AUTHEN_REQ);
}

TEST_F(FramesTest, IsQuietForAWhileAfterARejection) {
  start_dot1x({"-q", "1"});
  answer_logins({{{.code = 1, .session_id = 1}}});
  start();
  const auto before = std::chrono::steady_clock::now();
  send_identity();
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, 2, 0, 4));
  EXPECT_THAT(host_->start_until_answered(), ElementsAre(2, 0, 0, 5, 1, 3, 0, 5, 1));
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::seconds(1));
}

TEST_F(FramesTest, ClosesThePortWhenItsInterfaceGoesDown) {
  answer_logins({{{.code = 0, .session_id = 1, .eap = kSuccess}}});
  start();
  send_identity();
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 3, 2, 0, 4));
  ASSERT_TRUE(wire_->set_port("down"));
  EXPECT_TRUE(
      dot1x_->prints("bob: the interface is down\n"
                     "bob: port closed: Lost carrier\n"));
  ASSERT_TRUE(wire_->set_port("up"));
  EXPECT_THAT(host_->start_until_answered(), ElementsAre(2, 0, 0, 5, 1, 3, 0, 5, 1));
}

// The line about the report, which is answered after the other notices, comes before the end.
TEST_F(FramesTest, ClosesForTheNoticeAboutItsSessionOnly) {
  const auto notify = [this](Bytes notice) {
    notice.resize(560);
    EXPECT_EQ(sim_.send_message({}, aaa_sim::Role::event, AAA_MSG_NOTIFY_DEL_MSG, 0, notice), 1U);
  };
  leave_unanswered(AAA_MSG_ACCT_REQ);
  answer_logins({{{.code = 0, .session_id = 1, .eap = kSuccess}}});
  start();
  send_identity();
  ASSERT_TRUE(sim_.wait_for_message(received(AAA_MSG_ACCT_REQ)));
  notify({1, 0, 0, 0, 2, 0, 0, 0});
  notify({2, 0, 0, 0, 1, 0, 0, 0});
  send_result({.code = 0, .session_id = 1});
  notify({1, 0, 0, 0, 1, 0, 0, 0});
  EXPECT_TRUE(
      dot1x_->prints("bob: accounting start taken\n"
                     "bob: disconnected by aaad\n"
                     "bob: port closed: Admin reset\n"));
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 3, 2, 0, 4));
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, 2, 0, 4));
}

}  // namespace
}  // namespace dot1x_test
