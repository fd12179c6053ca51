// The sample clients, run as their users run them.
#include "examples_fixture.h"

#include <chrono>

namespace examples_test {
namespace {

using aaa_sim::AaadSim;
using aaa_sim::received;
using testing::HasSubstr;

TEST_F(ExamplesTest, LoginIsAccepted) {
  sim_.add_user({.name = "alice", .password = "secret", .reply_message = "Welcome"});
  const Outcome login = run("login", {"alice", "secret"});
  EXPECT_EQ(login.exit_status, 0) << login.errors;
  EXPECT_EQ(login.output, "aaad says: Welcome\naccepted\n");
}

TEST_F(ExamplesTest, LoginIsRejected) {
  sim_.add_user({.name = "alice", .password = "secret"});
  const Outcome login = run("login", {"alice", "guess"});
  EXPECT_EQ(login.exit_status, 1) << login.errors;
  EXPECT_EQ(login.output, "aaad says: Access denied\nrejected\n");
}

TEST_F(ExamplesTest, LoginIsChallenged) {
  sim_.add_user({.name = "bob",
                 .password = "code",
                 .verdict = aaa_sim::Verdict::challenge,
                 .state = "step-2"});
  const Outcome login = run("login", {"bob", "code"});
  EXPECT_EQ(login.exit_status, 2) << login.errors;
  EXPECT_EQ(login.output, "challenge, 6 bytes of state\n");
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
  const Outcome login = run("login", {"-t", "1", "alice", "secret"});
  EXPECT_EQ(login.exit_status, 2);
  EXPECT_EQ(login.output, "");
  EXPECT_EQ(login.errors, "login: no answer within 1 seconds\n");
  const Outcome accounting = run("accounting", {"-t", "1", "alice", "4"});
  EXPECT_EQ(accounting.exit_status, 2);
  EXPECT_EQ(accounting.output, "");
}

// As the library writes it for a session that waits when the link is lost.
TEST_F(ExamplesTest, LostLinkIsNoRejection) {
  sim_.set_answer(5, result_with(2, 1));
  sim_.set_answer(7, result_with(2, 101));
  const Outcome login = run("login", {"alice", "secret"});
  EXPECT_EQ(login.exit_status, 2);
  EXPECT_EQ(login.output, "the link to aaad was lost\n");
  const Outcome accounting = run("accounting", {"alice", "4"});
  EXPECT_EQ(accounting.exit_status, 2);
  EXPECT_EQ(accounting.errors, "accounting: the link to aaad was lost\n");
}

// The operands of each program that registers on a thread.
const std::vector<std::pair<std::string, std::vector<std::string>>> kPrograms = {
    {"login", {"alice", "secret"}},
    {"accounting", {"alice", "4"}},
    {"local_users", {"alice", "secret"}}};

std::vector<std::string> waiting_a_second(std::vector<std::string> operands) {
  operands.insert(operands.begin(), {"-w", "1"});
  return operands;
}

TEST_F(ExamplesTest, ProgramsSayThatAaadDoesNotRun) {
  sim_.stop();
  for (const auto& [program, operands] : kPrograms) {
    const Outcome outcome = run(program, waiting_a_second(operands));
    EXPECT_EQ(outcome.exit_status, 2);
    EXPECT_EQ(outcome.errors, program + ": aaad does not answer within 1 seconds\n");
  }
}

TEST_F(ExamplesTest, WaitIsAsLongAsAskedForAlsoWhenAaadAcceptsAndIsSilent) {
  using std::chrono::steady_clock;
  sim_.change([](aaa_sim::Settings& settings) { settings.silent = true; });
  for (const auto& [program, operands] : kPrograms) {
    const auto start = steady_clock::now();
    const Outcome outcome = run(program, waiting_a_second(operands));
    // Registration alone takes more than 10 seconds.
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(8));
    EXPECT_EQ(outcome.exit_status, 2);
    EXPECT_EQ(outcome.errors, program + ": aaad does not answer within 1 seconds\n");
  }
}

TEST_F(ExamplesTest, RefusedClientSaysSo) {
  sim_.change([](aaa_sim::Settings& settings) { settings.aaa_id = aaa_sim::kRefused; });
  for (const auto& [program, operands] : kPrograms) {
    const Outcome outcome = run(program, operands);
    EXPECT_EQ(outcome.exit_status, 2);
    EXPECT_EQ(outcome.errors, program + ": refused by aaad\n");
  }
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
         {"1x", "", "0", "-1", "+1", " 1", "3601", "18446744073709551617"}) {
      const Outcome outcome = run(program, {"-w", number, operands[0], operands[1]});
      EXPECT_EQ(outcome.exit_status, 2);
      EXPECT_EQ(outcome.errors,
                program + ": -w: '" + number + "' is not a number from 1 to 3600\n");
    }
  }
  // As long as the library waits.
  EXPECT_EQ(run("login", {"-t", "121", "alice", "secret"}).errors,
            "login: -t: '121' is not a number from 1 to 120\n");
}

TEST_F(ExamplesTest, AccountingSendsStartInterimAndStopOfOneSession) {
  const Outcome accounting = run("accounting", {"alice", "4"});
  EXPECT_EQ(accounting.exit_status, 0) << accounting.errors;
  EXPECT_EQ(accounting.output,
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
  const Outcome change = run("local_users", {"carol", "xanadu-1"});
  EXPECT_EQ(change.exit_status, 0) << change.errors;
  EXPECT_EQ(change.output,
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
