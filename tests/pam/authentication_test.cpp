// Authentication with a password.
#include <thread>

#include "pam/pam_fixture.h"

namespace pam_test {
namespace {

using std::chrono::steady_clock;

class AuthenticationTest : public PamTest {};

TEST_F(AuthenticationTest, AcceptsTheRightPassword) {
  EXPECT_EQ(log_in("alice", {"secret"}), PAM_SUCCESS);
  EXPECT_THAT(conversation_.shown(), ElementsAre(Shown{PAM_PROMPT_ECHO_OFF, "Password: "}));
}

TEST_F(AuthenticationTest, SendsNamePasswordAndWhereTheUserComesFrom) {
  Conversation user({"secret"});
  Handle handle(configuration_.path(), "alice", user);
  handle.set(PAM_RHOST, "192.0.2.7");
  handle.set(PAM_TTY, "ssh");
  EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
  const aaa_sim::Bytes body = body_of(AAA_MSG_AUTHEN_REQ);
  EXPECT_EQ(text_at(body, 33, 100), "ssh");
  EXPECT_EQ(text_at(body, 202, 65), "alice");
  EXPECT_NE(word_at(body, 404), 0u) << "no session id";
  EXPECT_EQ(word_at(body, 408), 5u);
  EXPECT_EQ(word_at(body, 412), 1u);
  EXPECT_EQ(text_at(body, 476, 128), "192.0.2.7");
  EXPECT_EQ(text_at(body, 1192, 6), "secret");
}

TEST_F(AuthenticationTest, CutsAHostNameThatIsTooLong) {
  Conversation user({"secret"});
  Handle handle(configuration_.path(), "alice", user);
  handle.set(PAM_RHOST, std::string(200, 'h'));
  EXPECT_EQ(::pam_authenticate(handle, 0), PAM_SUCCESS);
  EXPECT_EQ(text_at(body_of(AAA_MSG_AUTHEN_REQ), 476, 128), std::string(128, 'h'));
}

TEST_F(AuthenticationTest, RejectsAWrongPasswordAndShowsTheMessage) {
  EXPECT_EQ(log_in("alice", {"wrong"}), PAM_AUTH_ERR);
  EXPECT_THAT(conversation_.texts(PAM_ERROR_MSG), ElementsAre("Access denied"));
}

TEST_F(AuthenticationTest, RejectsAnUnknownUserInTheSameWay) {
  EXPECT_EQ(log_in("mallory", {"secret"}), PAM_AUTH_ERR);
}

TEST_F(AuthenticationTest, ShowsTheMessageOfAnAcceptance) {
  sim_.add_user({.name = "bob", .password = "secret", .reply_message = "Welcome"});
  EXPECT_EQ(log_in("bob", {"secret"}), PAM_SUCCESS);
  EXPECT_THAT(conversation_.texts(PAM_TEXT_INFO), ElementsAre("Welcome"));
}

TEST_F(AuthenticationTest, ShowsNoMessageWhenSilenceIsWanted) {
  sim_.add_user({.name = "bob", .password = "secret", .reply_message = "Welcome"});
  EXPECT_EQ(log_in("bob", {"secret"}, PAM_SILENT), PAM_SUCCESS);
  EXPECT_EQ(conversation_.shown().size(), 1u);
  EXPECT_EQ(log_in("bob", {"wrong"}, PAM_SILENT), PAM_AUTH_ERR);
  EXPECT_EQ(conversation_.shown().size(), 1u);
}

TEST_F(AuthenticationTest, SendsANameThatJustFits) {
  const std::string name(64, 'n');
  sim_.add_user({.name = name, .password = "secret"});
  EXPECT_EQ(log_in(name, {"secret"}), PAM_SUCCESS);
}

TEST_F(AuthenticationTest, RefusesANameThatIsTooLongWithoutSending) {
  EXPECT_EQ(log_in(std::string(65, 'n'), {"secret"}), PAM_USER_UNKNOWN);
  EXPECT_EQ(sim_.accepted_connections(), 0u);
}

TEST_F(AuthenticationTest, RefusesAnEmptyPasswordWithoutSending) {
  EXPECT_EQ(log_in("alice", {""}), PAM_AUTH_ERR);
  EXPECT_EQ(sim_.accepted_connections(), 0u);
}

TEST_F(AuthenticationTest, RefusesTheMarkerOfSshdWithoutSending) {
  const std::string marker = "\b\n\r\177INCORRECT";
  for (const std::string& password :
       {marker, marker.substr(0, 1), marker.substr(0, 6), marker + marker + "\b\n"})
    EXPECT_EQ(log_in("alice", {password}), PAM_AUTH_ERR);
  EXPECT_EQ(sim_.accepted_connections(), 0u);
  EXPECT_EQ(log_in("alice", {marker + "!"}), PAM_AUTH_ERR);
  EXPECT_EQ(sent(AAA_MSG_AUTHEN_REQ), 1u) << "a password that only begins like the marker";
}

TEST_F(AuthenticationTest, ReportsAConversationThatFailsWithoutSending) {
  EXPECT_EQ(log_in("alice", {}), PAM_CONV_ERR);
  EXPECT_EQ(sim_.accepted_connections(), 0u);
}

TEST_F(AuthenticationTest, TakesThePasswordOfTheModuleBefore) {
  configure_lines(line("auth", found(), "optional") + line("auth", found() + " use_first_pass"));
  EXPECT_EQ(log_in("alice", {"secret"}), PAM_SUCCESS);
  EXPECT_EQ(sent(AAA_MSG_AUTHEN_REQ), 2u);
}

TEST_F(AuthenticationTest, DoesNotAskWhenItMustUseAPasswordThatIsMissing) {
  configure("use_first_pass");
  EXPECT_EQ(log_in("alice", {"secret"}), PAM_AUTH_ERR);
  EXPECT_THAT(conversation_.shown(), IsEmpty());
  EXPECT_EQ(sim_.accepted_connections(), 0u);
}

TEST_F(AuthenticationTest, TakesAnyOtherResultForNoDecision) {
  for (const std::uint32_t code : {2u, 4u, 5u, 0xffffffffu}) {
    answer_authentication([=](std::uint32_t id) { return result_body(id, code); });
    EXPECT_EQ(log_in("alice", {"secret"}), PAM_AUTHINFO_UNAVAIL) << code;
  }
}

// Whoever can enter the directory can reach those sockets while they are made.
TEST_F(AuthenticationTest, TakesNoResultFromTheSocketsOfThreadsThatWait) {
  EXPECT_EQ(log_in("alice", {"secret"}), PAM_SUCCESS);
  const std::uint32_t next = word_at(body_of(AAA_MSG_AUTHEN_REQ), 404) + 100;
  const aaa_sim::Bytes forged = result_body(next, 0);
  aaa_lib_send_msg(forged.data(), static_cast<std::uint32_t>(forged.size()));
  EXPECT_EQ(log_in("alice", {"wrong"}), PAM_AUTH_ERR);
  EXPECT_EQ(word_at(body_of(AAA_MSG_AUTHEN_REQ, 1), 404), next);
}

TEST_F(AuthenticationTest, EndsAtOnceWhenTheDaemonRefuses) {
  sim_.change([](aaa_sim::Settings& settings) { settings.aaa_id = aaa_sim::kRefused; });
  EXPECT_EQ(log_in("alice", {"secret"}), PAM_AUTHINFO_UNAVAIL);
  EXPECT_THAT(system_log(), Contains(HasSubstr("refused by aaad")));
}

TEST_F(AuthenticationTest, LetsEveryFailureTakeTheSameTime) {
  for (const auto& [user, password] :
       {std::pair("alice", "wrong"), std::pair("mallory", "wrong"), std::pair("alice", ""),
        std::pair("alice", "\b\n\r\177INCORRECT"), std::pair("", "secret")}) {
    EXPECT_NE(log_in(user, {password}), PAM_SUCCESS);
    EXPECT_GE(Handle::delay, 1000000u) << user;
    EXPECT_LE(Handle::delay, 3000000u) << user;
  }
  EXPECT_EQ(log_in("alice", {"secret"}), PAM_SUCCESS);
  EXPECT_EQ(Handle::delay, 0u);
}

TEST_F(AuthenticationTest, WaitsNoLongerAfterAFailureIfNotWanted) {
  configure("nodelay");
  EXPECT_EQ(log_in("alice", {"wrong"}), PAM_AUTH_ERR);
  EXPECT_EQ(Handle::delay, 0u);
}

TEST_F(AuthenticationTest, LeavesTheDecisionToTheNextModuleWhenThereIsNone) {
  configure_lines(
      line("auth", found() + " timeout=3", "[success=done authinfo_unavail=ignore default=die]") +
      "auth required pam_permit.so\n");
  EXPECT_EQ(log_in("alice", {"wrong"}), PAM_AUTH_ERR);
  answer_authentication([](std::uint32_t id) { return result_body(id, 4); });
  EXPECT_EQ(log_in("alice", {"wrong"}), PAM_SUCCESS);
}

}  // namespace
}  // namespace pam_test
