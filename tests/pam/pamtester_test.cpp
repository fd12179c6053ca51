// The module in pamtester, as an ordinary user.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "aaad_sim.h"
#include "pam/wrapped_program.h"

namespace pam_test {
namespace {

using aaa_sim::received;
using testing::HasSubstr;

class PamtesterTest : public testing::Test {
 protected:
  PamtesterTest() {
    // The daemon's socket must be open to the programs' user.
    const mode_t mask = ::umask(0);
    sim_.add_user({.name = "alice", .password = "secret", .class_attribute = "staff"});
    sim_.add_user({.name = "carol",
                   .password = "123456",
                   .verdict = aaa_sim::Verdict::challenge,
                   .reply_message = "Token: ",
                   .state = "step-2"});
    sim_.put_local_user({.name = "dave", .string_19 = "old-secret"});
    sim_.start();
    ::umask(mask);
    programs_.configure("test", {"auth", "account", "session", "password"}, "timeout=10 nodelay");
  }

  // Returns the exit status.
  int run(const std::string& user, const std::vector<std::string>& operations,
          const std::string& input) {
    std::vector<std::string> program = {"/usr/bin/pamtester", "-I", "rhost=192.0.2.7", "test",
                                        user};
    program.insert(program.end(), operations.begin(), operations.end());
    test::ChildProgram pamtester(kSetpriv, programs_.command(std::move(program)), "");
    pamtester.type(input);
    pamtester.close_input();
    output_ = pamtester.remaining_output() + pamtester.remaining_errors();
    return pamtester.exit_status();
  }

  std::size_t sent(aaa_msg_type type) { return sim_.count(received(type)); }

  WrappedPrograms programs_;
  aaa_sim::AaadSim sim_{programs_.aaad_directory()};
  std::string output_;
};

TEST_F(PamtesterTest, LogsInAndOutWithAllGroups) {
  EXPECT_EQ(run("alice", {"authenticate", "acct_mgmt", "setcred", "open_session", "close_session"},
                "secret"),
            0)
      << output_;
  EXPECT_THAT(output_, HasSubstr("successfully authenticated"));
  EXPECT_THAT(output_, HasSubstr("account management done."));
  EXPECT_THAT(output_, HasSubstr("successfully opened a session"));
  EXPECT_THAT(output_, HasSubstr("session has successfully been closed."));
  EXPECT_EQ(sent(AAA_MSG_AUTHEN_REQ), 1u);
  EXPECT_EQ(sent(AAA_MSG_AUTHOR_REQ), 1u);
  EXPECT_EQ(sent(AAA_MSG_ACCT_REQ), 2u);
}

TEST_F(PamtesterTest, IsToldWhyALoginFails) {
  EXPECT_NE(run("alice", {"authenticate"}, "wrong"), 0);
  EXPECT_THAT(output_, HasSubstr("Access denied"));
  EXPECT_THAT(output_, HasSubstr("Authentication failure"));
  EXPECT_NE(run(std::string(65, 'n'), {"authenticate"}, "secret"), 0);
  EXPECT_THAT(output_, HasSubstr("User not known to the underlying authentication module"));
}

TEST_F(PamtesterTest, AnswersAChallenge) {
  EXPECT_EQ(run("carol", {"authenticate"}, "password\n123456"), 0) << output_;
  EXPECT_THAT(output_, HasSubstr("Token: "));
}

TEST_F(PamtesterTest, ChangesAPassword) {
  EXPECT_EQ(run("dave", {"chauthtok"}, "old-secret\nnew-secret\nnew-secret"), 0) << output_;
  EXPECT_EQ(sim_.local_user("dave")->string_19, "new-secret");
}

TEST_F(PamtesterTest, IsToldThatTheDaemonIsAway) {
  programs_.configure("test", {"auth"}, "timeout=3 nodelay");
  sim_.stop();
  EXPECT_NE(run("alice", {"authenticate"}, "secret"), 0);
  EXPECT_THAT(output_, HasSubstr("Authentication service cannot retrieve authentication info"));
}

}  // namespace
}  // namespace pam_test
