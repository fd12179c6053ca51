// The sample clients, run as their users run them.
#include <unistd.h>

#include <chrono>

#include "examples_fixture.h"

namespace examples_test {
namespace {

using aaa_sim::AaadSim;
using aaa_sim::received;
using testing::HasSubstr;

TEST_F(ExamplesTest, LoginIsAcceptedRejectedOrChallenged) {
  sim_.add_user({.name = "alice", .password = "secret", .reply_message = "Welcome"});
  sim_.add_user({.name = "bob",
                 .password = "code",
                 .verdict = aaa_sim::Verdict::challenge,
                 .state = "step-2"});
  expect(run("login", {"alice", "secret"}), 0, "aaad says: Welcome\naccepted\n");
  sim_.add_user({.name = "carol", .password = "secret"});
  expect(run("login", {"carol", "guess"}), 1, "aaad says: Access denied\nrejected\n");
  expect(run("login", {"bob", "code"}), 2, "challenge, 6 bytes of state\n");
}

TEST_F(ExamplesTest, LoginTrustsAnAaadOfTheNamedUserOnly) {
  sim_.add_user({.name = "alice", .password = "secret"});
  const std::string uid = std::to_string(::getuid()), other = std::to_string(::getuid() + 1);
  EXPECT_EQ(run("login", {"-u", uid, "alice", "secret"}).exit_status, 0);
  const Outcome refused = run("login", {"-u", other, "-w", "1", "alice", "secret"});
  EXPECT_EQ(refused.exit_status, 2);
  EXPECT_THAT(refused.errors, HasSubstr(") belongs to user " + uid + ", not to user " + other +
                                        "; not connected.\n"));
  EXPECT_THAT(refused.errors, HasSubstr("login: aaad does not answer within 1 seconds\n"));
}

// A result with these words in a fixed block of 1,280 bytes and no item behind it.
aaa_sim::Answerer result_with(std::uint8_t num_a, std::uint8_t session_id) {
  aaa_sim::Bytes body(4 + 1280);
  body[0] = 1;  // the item's type, and its length
  body[3] = 5;
  body[4] = num_a;
  body[4 + 572] = session_id;
  return [body](const aaa_sim::Request& request) -> aaa_sim::Replies {
    return {{aaa_sim::Role::event, 103, request.header.id, body}};
  };
}

TEST_F(ExamplesTest, RecordOfZerosIsNoAcceptance) {
  sim_.add_user({.name = "alice", .password = "secret"});
  sim_.set_answer(5, result_with(0, 0));
  sim_.set_answer(7, result_with(0, 0));
  expect(run("login", {"-t", "1", "alice", "secret"}), 2, "",
         "login: no answer within 1 seconds\n");
  const Outcome accounting = run("accounting", {"-t", "1", "alice", "4"});
  EXPECT_EQ(accounting.exit_status, 2);
  EXPECT_EQ(accounting.output, "");
}

// The library drops one; these programs are linked so that they get it.
TEST_F(ExamplesTest, RecordOfZerosThatIsHandedOutIsNoAcceptance) {
  sim_.add_user({.name = "alice", .password = "secret"});
  const auto run_with_zeros = [this](const std::string& name, std::vector<std::string> arguments) {
    return run_program(AAA_ZEROS_DIR "/" + name, std::move(arguments), directory_.path());
  };
  expect(run_with_zeros("login_with_zeros", {"alice", "secret"}), 2, "",
         "login: a result of another session\n");
  expect(run_with_zeros("accounting_with_zeros", {"alice", "4"}), 2, "",
         "accounting: a result of another session\n");
}

TEST_F(ExamplesTest, SilenceOfTheServersIsNoRejection) {
  sim_.set_answer(5, result_with(4, 1));
  expect(run("login", {"alice", "secret"}), 2, "no server answered\n");
}

// As the library writes it for a session that waits when the link is lost.
TEST_F(ExamplesTest, LostLinkIsNoRejection) {
  sim_.set_answer(5, result_with(2, 1));
  sim_.set_answer(7, result_with(2, 101));
  expect(run("login", {"alice", "secret"}), 2, "the link to aaad was lost\n");
  const Outcome accounting = run("accounting", {"alice", "4"});
  EXPECT_EQ(accounting.exit_status, 2);
  EXPECT_EQ(accounting.errors, "accounting: the link to aaad was lost\n");
}

// The operands of each program that registers on a thread.
const std::vector<std::pair<std::string, std::vector<std::string>>> kPrograms = {
    {"login", {"alice", "secret"}},
    {"accounting", {"alice", "4"}},
    {"local_users", {"alice", "secret"}}};

class ExamplesWithoutAnswer : public ExamplesTest {
 protected:
  // Expects each program to end with status 2 and this error.
  void expect_from_all(const std::string& error, std::vector<std::string> options = {}) {
    for (const auto& [program, operands] : kPrograms) {
      std::vector<std::string> arguments = options;
      arguments.insert(arguments.end(), operands.begin(), operands.end());
      const auto start = std::chrono::steady_clock::now();
      expect(run(program, arguments), 2, "", program + ": " + error + "\n");
      // Registration alone takes more than 10 seconds when aaad is silent.
      EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    }
  }
};

TEST_F(ExamplesWithoutAnswer, ProgramsWaitAsLongAsAskedForWhenAaadIsSilentOrDoesNotRun) {
  sim_.change([](aaa_sim::Settings& settings) { settings.silent = true; });
  expect_from_all("aaad does not answer within 1 seconds", {"-w", "1"});
  sim_.stop();
  expect_from_all("aaad does not answer within 1 seconds", {"-w", "1"});
}

TEST_F(ExamplesWithoutAnswer, RefusedClientSaysSo) {
  sim_.change([](aaa_sim::Settings& settings) { settings.aaa_id = aaa_sim::kRefused; });
  expect_from_all("refused by aaad");
}

TEST_F(ExamplesTest, ProgramsExplainThemselves) {
  for (const auto& [program, operands] : kPrograms) {
    const Outcome help = run(program, {"--help"});
    EXPECT_EQ(help.exit_status, 0);
    EXPECT_THAT(help.output, testing::StartsWith("usage: " + program + " [-w SECONDS] "));
    EXPECT_THAT(help.output, HasSubstr("Exit status: 0 "));
    EXPECT_EQ(help.errors, "");
    const Outcome misuse = run(program, {"alice"});
    EXPECT_EQ(misuse.exit_status, 2);
    EXPECT_THAT(misuse.errors, testing::StartsWith("usage: " + program + " [-w SECONDS] "));
  }
}

TEST_F(ExamplesTest, NumbersAreCheckedToTheLastCharacter) {
  for (const auto& [program, operands] : kPrograms) {
    for (const std::string number :
         {"1x", "", "0", "-1", "+1", " 1", "3601", "18446744073709551617"})
      expect(run(program, {"-w", number, operands[0], operands[1]}), 2, "",
             program + ": -w: '" + number + "' is not a number from 1 to 3600\n");
  }
  // As long as the library waits.
  EXPECT_EQ(run("login", {"-t", "121", "alice", "secret"}).errors,
            "login: -t: '121' is not a number from 1 to 120\n");
}

TEST_F(ExamplesTest, AccountingSendsStartInterimAndStopOfOneSession) {
  expect(run("accounting", {"alice", "4"}), 0,
         "start taken\ninterim report taken\nstopping: Idle timeout\nstop taken\n");
  // Behind the header of 16 bytes and the item's of 4: code_a at byte 4, 1, 3 and 2 in turn.
  std::string kinds;
  for (std::size_t i = 0; i < 3; ++i) {
    const auto report = sim_.wait_for_message(received(7), AaadSim::kTimeout, i);
    ASSERT_TRUE(report);
    EXPECT_EQ(report->header.id, 1u);
    kinds += std::to_string(report->bytes[16 + 4 + 4]);
  }
  EXPECT_EQ(kinds, "132");
  EXPECT_EQ(sim_.count(received(2)), 1u) << "deregistration";
}

TEST_F(ExamplesTest, AccountingTellsACauseWithoutText) {
  const Outcome accounting = run("accounting", {"alice", "11"});
  EXPECT_EQ(accounting.exit_status, 0) << accounting.errors;
  EXPECT_THAT(accounting.output, HasSubstr("stopping: unknown cause\n"));
}

TEST_F(ExamplesTest, AccountingEndsWhenNoSessionIdIsGranted) {
  sim_.change([](aaa_sim::Settings& settings) { settings.next_session_id = 0; });
  const Outcome accounting = run("accounting", {"alice", "4"});
  EXPECT_EQ(accounting.exit_status, 2);
  EXPECT_EQ(accounting.output, "");
  EXPECT_EQ(sim_.count(received(7)), 0u);
}

TEST_F(ExamplesTest, AccountingExplainsItself) {
  for (const char* cause : {"soon", "4x", "0", "-18446744073709551615", "4294967296", ""}) {
    const Outcome accounting = run("accounting", {"--", "alice", cause});
    EXPECT_EQ(accounting.exit_status, 2);
    EXPECT_THAT(accounting.errors, HasSubstr("usage: "));
  }
}

TEST_F(ExamplesTest, LocalUserGetsAnotherPassword) {
  sim_.put_local_user({.name = "carol", .string_19 = "rosebud", .passwords = {"first", "second"}});
  expect(run("local_users", {"carol", "xanadu-1"}), 0,
         "carol: 0 changes of password\n"
         "  earlier password: second\n"
         "  earlier password: first\n"
         "carol: 1 changes of password\n"
         "  earlier password: rosebud\n"
         "  earlier password: second\n"
         "  earlier password: first\n"
         "the new password is kept\n");
  const auto carol = sim_.local_user("carol");
  ASSERT_TRUE(carol);
  EXPECT_EQ(carol->string_19, "xanadu-1");
  EXPECT_EQ(carol->value_13, 1u);
  EXPECT_THAT(carol->passwords, testing::ElementsAre("first", "second", "rosebud"));
}

TEST_F(ExamplesTest, UnknownLocalUserIsReported) {
  const Outcome change = run("local_users", {"nobody", "xanadu-1"});
  EXPECT_EQ(change.exit_status, 1);
  EXPECT_THAT(change.errors, HasSubstr("there is no user nobody"));
}

TEST_F(ExamplesTest, RefusedChangeIsReported) {
  sim_.put_local_user({.name = "carol", .string_19 = "rosebud"});
  sim_.set_answer(120, [](const aaa_sim::Request&) -> aaa_sim::Replies {
    return {{aaa_sim::Role::request, 120, 0, {0}}};
  });
  const Outcome change = run("local_users", {"carol", "xanadu-1"});
  EXPECT_EQ(change.exit_status, 1);
  EXPECT_THAT(change.errors, HasSubstr("the change was not taken (-1)"));
  EXPECT_EQ(sim_.local_user("carol")->string_19, "rosebud");
}

}  // namespace
}  // namespace examples_test
