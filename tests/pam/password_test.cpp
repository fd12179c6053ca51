// Change of a local user's password.
#include "pam/pam_fixture.h"

namespace pam_test {
namespace {

class PasswordTest : public PamTest {
 protected:
  PasswordTest() { sim_.put_local_user({.name = "dave", .string_19 = "old-secret"}); }

  int change(const std::string& user, std::deque<std::string> answers) {
    conversation_ = Conversation(std::move(answers));
    Handle handle(configuration_.path(), user, conversation_);
    return ::pam_chauthtok(handle, 0);
  }

  std::string password() { return sim_.local_user("dave")->string_19; }
};

TEST_F(PasswordTest, AsksForTheOldAndTwiceForTheNewPassword) {
  EXPECT_EQ(change("dave", {"old-secret", "new-secret", "new-secret"}), PAM_SUCCESS);
  EXPECT_THAT(conversation_.texts(PAM_PROMPT_ECHO_OFF),
              ElementsAre("Current password: ", "New password: ", "Retype new password: "));
  EXPECT_EQ(password(), "new-secret");
}

TEST_F(PasswordTest, RefusesAWrongOldPasswordBeforeItAsksForTheNew) {
  EXPECT_EQ(change("dave", {"wrong", "new-secret", "new-secret"}), PAM_AUTH_ERR);
  EXPECT_EQ(conversation_.shown().size(), 1u);
  EXPECT_EQ(password(), "old-secret");
}

TEST_F(PasswordTest, RefusesAnUnknownUser) {
  EXPECT_EQ(change("mallory", {"old-secret", "new-secret", "new-secret"}), PAM_AUTH_ERR);
}

TEST_F(PasswordTest, RefusesTwoNewPasswordsThatDiffer) {
  EXPECT_EQ(change("dave", {"old-secret", "new-secret", "typo"}), PAM_TRY_AGAIN);
  EXPECT_EQ(sent(AAA_MSG_LOCAL_CHANGE_PWD_REQ), 0u);
}

TEST_F(PasswordTest, ReportsAPasswordThatTheDaemonDoesNotAllow) {
  EXPECT_EQ(change("dave", {"old-secret", "old-secret", "old-secret"}), PAM_AUTHTOK_ERR);
  EXPECT_THAT(conversation_.texts(PAM_ERROR_MSG), ElementsAre("The new password is not allowed."));
}

TEST_F(PasswordTest, ReportsAUserOrPasswordThatHasChangedMeanwhile) {
  sim_.set_answer(AAA_MSG_LOCAL_CHANGE_PWD_REQ, [](const aaa_sim::Request&) -> aaa_sim::Replies {
    return {{aaa_sim::Role::request, AAA_MSG_LOCAL_CHANGE_PWD_REQ, 0, {1, 0, 0, 0}}};
  });
  EXPECT_EQ(change("dave", {"old-secret", "new-secret", "new-secret"}), PAM_USER_UNKNOWN);
  sim_.set_answer(AAA_MSG_LOCAL_CHANGE_PWD_REQ, [](const aaa_sim::Request&) -> aaa_sim::Replies {
    return {{aaa_sim::Role::request, AAA_MSG_LOCAL_CHANGE_PWD_REQ, 0, {2, 0, 0, 0}}};
  });
  EXPECT_EQ(change("dave", {"old-secret", "new-secret", "new-secret"}), PAM_AUTH_ERR);
}

TEST_F(PasswordTest, SendsNoEmptyPasswordAndNoneThatIsTooLong) {
  EXPECT_EQ(change("dave", {"", "new-secret", "new-secret"}), PAM_AUTH_ERR);
  EXPECT_EQ(sim_.accepted_connections(), 0u);
  const std::string fits(168 - 4 - 10, 'n');
  for (const std::string& password : {std::string(), fits + "n"})
    EXPECT_EQ(change("dave", {"old-secret", password, password}), PAM_AUTHTOK_ERR);
  EXPECT_EQ(sent(AAA_MSG_LOCAL_CHANGE_PWD_REQ), 0u);
  EXPECT_EQ(change("dave", {"old-secret", fits, fits}), PAM_AUTHTOK_ERR);
  EXPECT_EQ(sent(AAA_MSG_LOCAL_CHANGE_PWD_REQ), 1u) << "aaad takes at most 128";
}

TEST_F(PasswordTest, ReportsAConversationThatFails) {
  EXPECT_EQ(change("dave", {}), PAM_CONV_ERR);
  EXPECT_EQ(change("dave", {"old-secret"}), PAM_CONV_ERR);
  EXPECT_EQ(password(), "old-secret");
}

TEST_F(PasswordTest, NeverTakesARecordOfZerosForARightOldPassword) {
  sim_.set_answer(AAA_MSG_LOCAL_AUTHEN_REQ,
                  [](const aaa_sim::Request& request) -> aaa_sim::Replies {
                    return {{aaa_sim::Role::request, AAA_MSG_LOCAL_AUTHEN_REQ, request.header.id,
                             aaa_sim::Bytes(1400, 0)}};
                  });
  EXPECT_EQ(change("dave", {"wrong"}), PAM_AUTHINFO_UNAVAIL);
}

TEST_F(PasswordTest, ReportsADaemonThatGivesNoAnswer) {
  sim_.set_fault(aaa_sim::Role::request, AAA_MSG_LOCAL_CHANGE_PWD_REQ, aaa_sim::Fault::close);
  EXPECT_EQ(change("dave", {"old-secret", "new-secret", "new-secret"}), PAM_AUTHINFO_UNAVAIL);
}

}  // namespace
}  // namespace pam_test
