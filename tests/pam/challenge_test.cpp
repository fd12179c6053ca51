// Challenges: questions of the daemon after the password.
#include <arpa/inet.h>

#include "pam/pam_fixture.h"

namespace pam_test {
namespace {

class ChallengeTest : public PamTest {
 protected:
  ChallengeTest() {
    sim_.add_user({.name = "carol",
                   .password = "123456",
                   .verdict = Verdict::challenge,
                   .reply_message = "Token: ",
                   .state = "step-2"});
  }
};

TEST_F(ChallengeTest, ShowsTheMessageAsAQuestionAndSendsTheAnswerWithTheState) {
  EXPECT_EQ(log_in("carol", {"password", "123456"}), PAM_SUCCESS);
  EXPECT_THAT(conversation_.texts(PAM_PROMPT_ECHO_OFF), ElementsAre("Password: ", "Token: "));
  const aaa_sim::Bytes first = body_of(AAA_MSG_AUTHEN_REQ);
  const aaa_sim::Bytes second = body_of(AAA_MSG_AUTHEN_REQ, 1);
  EXPECT_EQ(word_at(second, 404), word_at(first, 404)) << "not the same session";
  EXPECT_EQ(text_at(second, 1192, 6), "123456");
  EXPECT_EQ(text_at(second, 1218, 6), "step-2");
}

TEST_F(ChallengeTest, IsNotRegisteredWhileTheUserThinks) {
  EXPECT_EQ(log_in("carol", {"password", "123456"}), PAM_SUCCESS);
  EXPECT_EQ(sent(AAA_MSG_DEREGISTER_REQ), 2u);
}

TEST_F(ChallengeTest, ShowsTheAnswerWhileItIsTypedIfWanted) {
  configure("challenge_echo");
  EXPECT_EQ(log_in("carol", {"password", "123456"}), PAM_SUCCESS);
  EXPECT_THAT(conversation_.texts(PAM_PROMPT_ECHO_ON), ElementsAre("Token: "));
}

TEST_F(ChallengeTest, FollowsTheServerAboutShowingTheAnswer) {
  for (const char* option : {"", "challenge_echo"}) {
    configure(option);
    for (const std::uint32_t prompt : {1u, 2u}) {
      answer_authentication(
          [=](std::uint32_t id) { return result_body(id, 3, "? ", "x", prompt); });
      EXPECT_EQ(log_in("carol", {"password"}), PAM_CONV_ERR);
      EXPECT_EQ(conversation_.shown().back().style,
                prompt == 2 ? PAM_PROMPT_ECHO_ON : PAM_PROMPT_ECHO_OFF);
    }
  }
}

TEST_F(ChallengeTest, AsksAlsoWhenSilenceIsWanted) {
  EXPECT_EQ(log_in("carol", {"password", "123456"}, PAM_SILENT), PAM_SUCCESS);
}

TEST_F(ChallengeTest, RejectsAWrongAnswer) {
  EXPECT_EQ(log_in("carol", {"password", "654321"}), PAM_AUTH_ERR);
}

TEST_F(ChallengeTest, SendsNoEmptyAnswerAndNoMarkerOfSshd) {
  for (const char* answer : {"", "\b\n\r\177INCORRECT"})
    EXPECT_EQ(log_in("carol", {"password", answer}), PAM_AUTH_ERR);
  EXPECT_EQ(sent(AAA_MSG_AUTHEN_REQ), 2u);
}

TEST_F(ChallengeTest, ReportsAConversationThatFails) {
  EXPECT_EQ(log_in("carol", {"password"}), PAM_CONV_ERR);
  EXPECT_EQ(sent(AAA_MSG_AUTHEN_REQ), 1u);
}

TEST_F(ChallengeTest, AsksWithAQuestionOfItsOwnWhenThereIsNoMessage) {
  answer_authentication([](std::uint32_t id) { return result_body(id, 3, "", "again"); });
  EXPECT_EQ(log_in("carol", {"password"}), PAM_CONV_ERR);
  EXPECT_THAT(conversation_.texts(PAM_PROMPT_ECHO_OFF), ElementsAre("Password: ", "Response: "));
}

TEST_F(ChallengeTest, ShowsAMessageAsItIs) {
  answer_authentication([](std::uint32_t id) { return result_body(id, 3, "100% %s %n\n> ", "x"); });
  EXPECT_EQ(log_in("carol", {"password"}), PAM_CONV_ERR);
  EXPECT_EQ(conversation_.shown().back().text, "100% %s %n\n> ");
}

TEST_F(ChallengeTest, SendsTheStateOfTheLatestChallenge) {
  answer_authentication([round = 0](std::uint32_t id) mutable {
    ++round;
    return round == 3 ? result_body(id, 0)
                      : result_body(id, 3, "Next? ", "state" + std::to_string(round));
  });
  EXPECT_EQ(log_in("carol", {"one", "two", "six"}), PAM_SUCCESS);
  EXPECT_EQ(text_at(body_of(AAA_MSG_AUTHEN_REQ, 1), 1215, 6), "state1");
  EXPECT_EQ(text_at(body_of(AAA_MSG_AUTHEN_REQ, 2), 1215, 6), "state2");
}

// Otherwise a stack that goes on without a decision would drop the second factor.
TEST_F(ChallengeTest, RefusesALoginWithoutADecisionAboutTheAnswer) {
  configure_lines(
      line("auth", found() + " timeout=3", "[success=done authinfo_unavail=ignore default=die]") +
      "auth required pam_permit.so\n");
  answer_authentication([round = 0](std::uint32_t id) mutable {
    return result_body(id, ++round == 1 ? 3 : 4, "Token: ", "step-2");
  });
  EXPECT_EQ(log_in("carol", {"password", "123456"}), PAM_AUTH_ERR);
  EXPECT_EQ(sent(AAA_MSG_AUTHEN_REQ), 2u);
}

TEST_F(ChallengeTest, IsWithdrawnWhenItIsNotAnswered) {
  EXPECT_EQ(log_in("carol", {"password"}), PAM_CONV_ERR);
  EXPECT_EQ(log_in("carol", {"password", ""}), PAM_AUTH_ERR);
  for (const std::size_t login : {0u, 1u})
    EXPECT_EQ(ntohl(word_at(body_of(AAA_MSG_CLEAR_USER, login), 0)),
              word_at(body_of(AAA_MSG_AUTHEN_REQ, login), 404));
  EXPECT_EQ(log_in("carol", {"password", "654321"}), PAM_AUTH_ERR);
  EXPECT_EQ(log_in("carol", {"password", "123456"}), PAM_SUCCESS);
  EXPECT_EQ(sent(AAA_MSG_CLEAR_USER), 2u);
}

TEST_F(ChallengeTest, LogsANameWithoutItsControlCharacters) {
  answer_authentication([](std::uint32_t id) { return result_body(id, 3, "Again? ", "again"); });
  EXPECT_EQ(log_in("ca\nrol\x1b", {"1", "2", "3", "4", "5", "6", "7", "8"}), PAM_MAXTRIES);
  EXPECT_THAT(system_log(), Contains(HasSubstr("challenges for \"ca?rol?\"")));
}

TEST_F(ChallengeTest, EndsAfterEightRequests) {
  answer_authentication([](std::uint32_t id) { return result_body(id, 3, "Again? ", "again"); });
  EXPECT_EQ(log_in("carol", {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"}), PAM_MAXTRIES);
  EXPECT_EQ(sent(AAA_MSG_AUTHEN_REQ), 8u);
  EXPECT_EQ(sent(AAA_MSG_CLEAR_USER), 1u) << "the last challenge";
}

}  // namespace
}  // namespace pam_test
