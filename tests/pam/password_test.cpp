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
  EXPECT_EQ(change("dave", {"wrong"}), PAM_TRY_AGAIN);
}

// The library reads an answer without a word as 0, and does not look at the type.
TEST_F(PasswordTest, DoesNotTakeAnAnswerOfZerosForAChange) {
  const aaa_msg_type type = AAA_MSG_LOCAL_CHANGE_PWD_REQ;
  for (const aaa_sim::Reply& answer :
       {aaa_sim::Reply{aaa_sim::Role::request, type, 0, {}},
        aaa_sim::Reply{aaa_sim::Role::request, type, 0, {0, 0}},
        aaa_sim::Reply{aaa_sim::Role::request, AAA_MSG_NOTIFY_RESULT, 0, {0, 0, 0, 0}}}) {
    sim_.set_answer(type, [=](const aaa_sim::Request&) -> aaa_sim::Replies { return {answer}; });
    EXPECT_EQ(change("dave", {"old-secret", "new-secret", "new-secret"}), PAM_AUTHTOK_ERR);
    EXPECT_THAT(system_log(), Contains(HasSubstr("is not confirmed")));
  }
}

TEST_F(PasswordTest, ConfirmsAChangeWhoseAnswerIsSpoilt) {
  for (const auto fault : {aaa_sim::Fault::wrong_type, aaa_sim::Fault::empty_body}) {
    sim_.put_local_user({.name = "dave", .string_19 = "old-secret"});
    sim_.set_fault(aaa_sim::Role::request, AAA_MSG_LOCAL_CHANGE_PWD_REQ, fault);
    EXPECT_EQ(change("dave", {"old-secret", "new-secret", "new-secret"}), PAM_SUCCESS);
    EXPECT_EQ(password(), "new-secret");
  }
}

TEST_F(PasswordTest, ReportsAChangeThatCannotBeConfirmed) {
  sim_.set_answer(AAA_MSG_LOCAL_AUTHEN_REQ,
                  [answers = 0](const aaa_sim::Request& request) mutable -> aaa_sim::Replies {
                    const std::uint32_t code = ++answers == 1 ? 0 : 4;
                    return {{aaa_sim::Role::request, AAA_MSG_LOCAL_AUTHEN_REQ, request.header.id,
                             result_body(request.header.id, code)}};
                  });
  EXPECT_EQ(change("dave", {"old-secret", "new-secret", "new-secret"}), PAM_AUTHINFO_UNAVAIL);
}

TEST_F(PasswordTest, IsToBeTriedAgainWhenTheDaemonIsAway) {
  configure("timeout=3");
  sim_.stop();
  EXPECT_EQ(change("dave", {"old-secret", "new-secret", "new-secret"}), PAM_TRY_AGAIN);
  EXPECT_THAT(conversation_.texts(PAM_PROMPT_ECHO_OFF), ElementsAre("Current password: "));
}

TEST_F(PasswordTest, LeavesExpiredPasswordsToOthers) {
  configure_lines(line("password", found()) + "password required pam_permit.so\n");
  Conversation user;
  Handle handle(configuration_.path(), "dave", user);
  EXPECT_EQ(::pam_chauthtok(handle, PAM_CHANGE_EXPIRED_AUTHTOK), PAM_SUCCESS);
  EXPECT_THAT(user.shown(), IsEmpty());
  EXPECT_EQ(sim_.accepted_connections(), 0u);
}

TEST_F(PasswordTest, DoesNotAskWhenItMustUseAPasswordThatIsMissing) {
  configure("use_first_pass");
  EXPECT_EQ(change("dave", {"old-secret"}), PAM_AUTH_ERR);
  EXPECT_THAT(conversation_.shown(), IsEmpty());
}

// It can take as long as it likes.
TEST_F(PasswordTest, IsNotRegisteredWhileItTellsTheUser) {
  static int in_use;
  in_use = -1;
  Conversation user({"old-secret", "old-secret", "old-secret"});
  user.when_shown([](const Shown& shown) {
    if (shown.style == PAM_ERROR_MSG) in_use = aaa_is_in_use();
  });
  Handle handle(configuration_.path(), "dave", user);
  EXPECT_EQ(::pam_chauthtok(handle, 0), PAM_AUTHTOK_ERR);
  EXPECT_EQ(in_use, 0);
}

TEST_F(PasswordTest, ReportsADaemonThatGivesNoAnswer) {
  sim_.set_fault(aaa_sim::Role::request, AAA_MSG_LOCAL_CHANGE_PWD_REQ, aaa_sim::Fault::close);
  EXPECT_EQ(change("dave", {"old-secret", "new-secret", "new-secret"}), PAM_AUTHINFO_UNAVAIL);
}

}  // namespace
}  // namespace pam_test
