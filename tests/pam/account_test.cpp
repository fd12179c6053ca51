// Authorization of an authenticated session.
#include "pam/pam_fixture.h"

namespace pam_test {
namespace {

class AccountTest : public PamTest {
 protected:
  void answer_authorization(std::uint32_t code, const std::string& message = "") {
    sim_.set_answer(AAA_MSG_AUTHOR_REQ, [=](const aaa_sim::Request& request) -> aaa_sim::Replies {
      const std::uint32_t id = request.header.id;
      return {{aaa_sim::Role::event, AAA_MSG_NOTIFY_RESULT, id, result_body(id, code, message)}};
    });
  }

  int log_in_and_authorize() {
    conversation_ = Conversation({"secret"});
    Handle handle(configuration_.path(), "alice", conversation_);
    EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
    return ::pam_acct_mgmt(handle, 0);
  }

  // As in a process that has not authenticated.
  int authorize(const std::string& variable = "") {
    Handle handle(configuration_.path(), "alice", conversation_);
    if (!variable.empty()) {
      EXPECT_EQ(::pam_putenv(handle, variable.c_str()), PAM_SUCCESS);
    }
    return ::pam_acct_mgmt(handle, 0);
  }
};

TEST_F(AccountTest, AsksForTheSessionThatWasAuthenticated) {
  EXPECT_EQ(log_in_and_authorize(), PAM_SUCCESS);
  const std::uint32_t session_id = word_at(body_of(AAA_MSG_AUTHEN_REQ), 404);
  EXPECT_EQ(word_at(body_of(AAA_MSG_AUTHOR_REQ), 12), session_id);
}

TEST_F(AccountTest, RefusesARejectedSessionAndShowsTheMessage) {
  answer_authorization(1, "Not now");
  EXPECT_EQ(log_in_and_authorize(), PAM_PERM_DENIED);
  EXPECT_THAT(conversation_.texts(PAM_ERROR_MSG), ElementsAre("Not now"));
}

TEST_F(AccountTest, RefusesAChallenge) {
  answer_authorization(3);
  EXPECT_EQ(log_in_and_authorize(), PAM_PERM_DENIED);
}

TEST_F(AccountTest, TakesAnyOtherResultForNoDecision) {
  answer_authorization(4);
  EXPECT_EQ(log_in_and_authorize(), PAM_AUTHINFO_UNAVAIL);
}

TEST_F(AccountTest, AsksForTheSessionThatAnotherProcessHasAuthenticated) {
  EXPECT_EQ(authorize("AAA_SESSION=0000002a:7374616666:616c696365"), PAM_SUCCESS);
  EXPECT_EQ(word_at(body_of(AAA_MSG_AUTHOR_REQ), 12), 42u);
}

TEST_F(AccountTest, DoesNotDecideAboutOtherUsers) {
  EXPECT_EQ(authorize(), PAM_PERM_DENIED) << "libpam, because no module has decided";
  configure_lines(line("account", found()) + "account required pam_permit.so\n");
  EXPECT_EQ(authorize(), PAM_SUCCESS);
  EXPECT_EQ(sim_.accepted_connections(), 0u);
}

TEST_F(AccountTest, DoesNotTakeAVariableThatIsNotItsOwn) {
  for (const char* value :
       {"", "0000002a", "0000002a:", "0000002a::", "0000002a:7", "0000002a:7:61", "0000002a:7x:61",
        "0000002A::61", "00000000::61", "2a::61", "0000002a-00:61", "0000002a:zz:61",
        " 000002a::61", "0000002a::61 ", "0000002a:00", "0000002a::6", "0000002a::6100",
        "0000002a::61:", "0000002a:6:1"})
    EXPECT_EQ(authorize(std::string("AAA_SESSION=") + value), PAM_PERM_DENIED) << value;
  EXPECT_EQ(authorize("AAA_SESSION=0000002a:" + std::string(508, '0') + ":616c696365"),
            PAM_PERM_DENIED);
  const std::string long_name(130, '6');
  EXPECT_EQ(authorize("AAA_SESSION=0000002a::" + long_name), PAM_PERM_DENIED);
  EXPECT_EQ(sim_.accepted_connections(), 0u);
  EXPECT_EQ(authorize("AAA_SESSION=0000002a:" + std::string(506, '0') + ":616c696365"),
            PAM_SUCCESS);
}

TEST_F(AccountTest, RefusesAnotherUserThanWasAuthenticated) {
  configure_lines(line("auth", found()) + line("account", found()) +
                  "account required pam_permit.so\n");
  Conversation user({"secret"});
  Handle handle(configuration_.path(), "alice", user);
  EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
  handle.set(PAM_USER, "bob");
  EXPECT_EQ(::pam_acct_mgmt(handle, 0), PAM_PERM_DENIED);
  EXPECT_EQ(authorize("AAA_SESSION=0000002a::626f62"), PAM_PERM_DENIED) << "bob's";
  EXPECT_EQ(sent(AAA_MSG_AUTHOR_REQ), 0u);
  EXPECT_THAT(system_log(), Contains(HasSubstr("not that of the user")));
}

// As with sshd, when it wants a password and then an answer to a question.
TEST_F(AccountTest, TakesTheNewerSessionOfAnotherProcess) {
  Conversation user({"secret"});
  Handle handle(configuration_.path(), "alice", user);
  EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
  const std::uint32_t own = word_at(body_of(AAA_MSG_AUTHEN_REQ), 404);
  EXPECT_EQ(::pam_putenv(handle, "AAA_SESSION=0000002b::626f62"), PAM_SUCCESS);
  EXPECT_EQ(::pam_acct_mgmt(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(word_at(body_of(AAA_MSG_AUTHOR_REQ), 12), own) << "the other is bob's";
  EXPECT_EQ(::pam_putenv(handle, "AAA_SESSION=0000002a::616c696365"), PAM_SUCCESS);
  EXPECT_NE(::pam_acct_mgmt(handle, 0), PAM_AUTHINFO_UNAVAIL);
  EXPECT_EQ(word_at(body_of(AAA_MSG_AUTHOR_REQ, 1), 12), 42u);
}

TEST_F(AccountTest, KeepsNothingOfALoginThatFailsLater) {
  Conversation user({"secret", "wrong"});
  Handle handle(configuration_.path(), "alice", user);
  EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
  EXPECT_NE(handle.environment("AAA_SESSION"), "");
  EXPECT_EQ(::pam_authenticate(handle, 0), PAM_AUTH_ERR);
  EXPECT_EQ(handle.environment("AAA_SESSION"), "");
  EXPECT_EQ(::pam_acct_mgmt(handle, 0), PAM_PERM_DENIED);
  EXPECT_EQ(sent(AAA_MSG_AUTHOR_REQ), 0u);
}

}  // namespace
}  // namespace pam_test
