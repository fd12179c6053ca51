// Accounting of a session.
#include <thread>

#include "pam/pam_fixture.h"

namespace pam_test {
namespace {

class SessionTest : public PamTest {
 protected:
  void answer_accounting(std::uint32_t code) {
    sim_.set_answer(AAA_MSG_ACCT_REQ, [=](const aaa_sim::Request& request) -> aaa_sim::Replies {
      const std::uint32_t id = request.header.id;
      return {{aaa_sim::Role::event, AAA_MSG_NOTIFY_RESULT, id, result_body(id, code)}};
    });
  }

  Conversation user_{{"secret"}};
};

TEST_F(SessionTest, ReportsStartAndStopWithNameAndClass) {
  Handle handle(configuration_.path(), "alice", user_);
  handle.set(PAM_RHOST, "192.0.2.7");
  handle.set(PAM_TTY, "ssh");
  EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(::pam_open_session(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(::pam_close_session(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(sent(AAA_MSG_ACCT_REQ), 2u);
  const std::uint32_t session_id = word_at(body_of(AAA_MSG_AUTHEN_REQ), 404);
  for (const std::size_t kind : {1u, 2u}) {
    const aaa_sim::Bytes body = body_of(AAA_MSG_ACCT_REQ, kind - 1);
    EXPECT_EQ(body[8], kind);
    EXPECT_EQ(text_at(body, 30, 100), "ssh");
    EXPECT_EQ(text_at(body, 163, 65), "alice");
    EXPECT_EQ(word_at(body, 412), session_id);
    EXPECT_EQ(text_at(body, 532, 128), "192.0.2.7");
    EXPECT_EQ(text_at(body, 784, 5), "staff");
    EXPECT_EQ(word_at(body, 372), kind == 1 ? 0u : 1u) << "the terminate cause";
  }
}

TEST_F(SessionTest, ReportsHowLongTheSessionWas) {
  Handle handle(configuration_.path(), "alice", user_);
  EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
  timespec before;
  ::clock_gettime(CLOCK_BOOTTIME, &before);
  EXPECT_EQ(::pam_open_session(handle, 0), PAM_SUCCESS);
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  EXPECT_EQ(::pam_close_session(handle, 0), PAM_SUCCESS);
  timespec after;
  ::clock_gettime(CLOCK_BOOTTIME, &after);
  EXPECT_EQ(word_at(body_of(AAA_MSG_ACCT_REQ), 376), 0u);
  const std::uint32_t seconds = word_at(body_of(AAA_MSG_ACCT_REQ, 1), 376);
  EXPECT_GE(seconds, 1u);
  EXPECT_LE(seconds, static_cast<std::uint32_t>(after.tv_sec - before.tv_sec));
}

TEST_F(SessionTest, HandsTheSessionToAnotherProcessInTheEnvironment) {
  std::string value;
  {
    Handle handle(configuration_.path(), "alice", user_);
    EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
    value = handle.environment("AAA_SESSION");
  }
  char id[16];
  std::snprintf(id, sizeof id, "%08x", word_at(body_of(AAA_MSG_AUTHEN_REQ), 404));
  EXPECT_EQ(value, id + std::string(":7374616666:616c696365"));

  Handle handle(configuration_.path(), "alice", user_);
  EXPECT_EQ(::pam_putenv(handle, ("AAA_SESSION=" + value).c_str()), PAM_SUCCESS);
  EXPECT_EQ(::pam_open_session(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(handle.environment("AAA_SESSION"), "") << "the user's programs would see it";
  EXPECT_EQ(::pam_close_session(handle, 0), PAM_SUCCESS);
  for (const std::size_t report : {0u, 1u}) {
    const aaa_sim::Bytes body = body_of(AAA_MSG_ACCT_REQ, report);
    EXPECT_EQ(word_at(body, 412), word_at(body_of(AAA_MSG_AUTHEN_REQ), 404));
    EXPECT_EQ(text_at(body, 784, 5), "staff");
  }
}

TEST_F(SessionTest, RemovesTheVariableWhenCredentialsAreSetAndKeepsTheSession) {
  Handle handle(configuration_.path(), "alice", user_);
  EXPECT_EQ(::pam_putenv(handle, "AAA_SESSION=0000002a::616c696365"), PAM_SUCCESS);
  EXPECT_EQ(::pam_setcred(handle, PAM_ESTABLISH_CRED), PAM_SUCCESS);
  EXPECT_EQ(handle.environment("AAA_SESSION"), "");
  EXPECT_EQ(::pam_open_session(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(word_at(body_of(AAA_MSG_ACCT_REQ), 412), 42u);
}

TEST_F(SessionTest, ReportsAStopOnceAndOnlyAfterAStart) {
  Handle handle(configuration_.path(), "alice", user_);
  EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(::pam_close_session(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(sent(AAA_MSG_ACCT_REQ), 0u);
  EXPECT_EQ(::pam_open_session(handle, 0), PAM_SUCCESS);
  for (int i = 0; i < 2; ++i)
    EXPECT_EQ(::pam_close_session(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(sent(AAA_MSG_ACCT_REQ), 2u);
}

TEST_F(SessionTest, ReportsTheNameThatWasAuthenticated) {
  Handle handle(configuration_.path(), "alice", user_);
  EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
  handle.set(PAM_USER, "bob");
  EXPECT_EQ(::pam_open_session(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(text_at(body_of(AAA_MSG_ACCT_REQ), 163, 65), "alice");
}

TEST_F(SessionTest, KeepsAClassOfAWholeAttribute) {
  sim_.change([](aaa_sim::Settings& settings) {
    settings.users.front().class_attribute = std::string(252, '\0') + '\xff';
  });
  Handle handle(configuration_.path(), "alice", user_);
  EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(handle.environment("AAA_SESSION").substr(8),
            ":" + std::string(504, '0') + "ff:616c696365");
}

TEST_F(SessionTest, DoesNotKeepAClassThatIsTooLong) {
  sim_.change([](aaa_sim::Settings& settings) {
    settings.users.front().class_attribute = std::string(254, 'c');
  });
  Handle handle(configuration_.path(), "alice", user_);
  EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(handle.environment("AAA_SESSION").substr(8), "::616c696365");
  EXPECT_THAT(system_log(), Contains(HasSubstr("Class of 254 bytes")));
}

TEST_F(SessionTest, HasNothingToReportForOtherUsers) {
  Handle handle(configuration_.path(), "alice", user_);
  EXPECT_EQ(::pam_open_session(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(::pam_close_session(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(sim_.accepted_connections(), 0u);
}

TEST_F(SessionTest, OpensAlsoWhenAReportIsNotTaken) {
  answer_accounting(4);
  Handle handle(configuration_.path(), "alice", user_);
  EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(::pam_open_session(handle, 0), PAM_SUCCESS);
  EXPECT_THAT(system_log(), Contains(HasSubstr("was not reported")));
  EXPECT_EQ(::pam_close_session(handle, 0), PAM_SUCCESS);
}

TEST_F(SessionTest, FailsWhenAReportIsNotTakenIfWanted) {
  configure("require_accounting");
  for (const std::uint32_t code : {1u, 4u}) {
    answer_accounting(code);
    user_.will_answer("secret");
    Handle handle(configuration_.path(), "alice", user_);
    EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
    EXPECT_EQ(::pam_open_session(handle, 0), PAM_SESSION_ERR);
    EXPECT_EQ(::pam_close_session(handle, 0), PAM_SESSION_ERR);
  }
}

TEST_F(SessionTest, OutlivesARestartOfTheDaemon) {
  Handle handle(configuration_.path(), "alice", user_);
  EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(::pam_open_session(handle, 0), PAM_SUCCESS);
  sim_.stop();
  sim_.start();
  EXPECT_EQ(::pam_close_session(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(word_at(body_of(AAA_MSG_ACCT_REQ, 1), 412), word_at(body_of(AAA_MSG_ACCT_REQ), 412));
}

}  // namespace
}  // namespace pam_test
