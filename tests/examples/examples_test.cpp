// The sample clients, run as their users run them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "aaad_sim.h"
#include "support/child_program.h"
#include "support/temporary_directory.h"

namespace {

using aaa_sim::AaadSim;
using aaa_sim::received;
using testing::HasSubstr;

struct Outcome {
  int exit_status;
  std::string output;
  std::string errors;
};

class ExamplesTest : public testing::Test {
 protected:
  ExamplesTest() { sim_.start(); }

  Outcome run(const std::string& name, std::vector<std::string> arguments) {
    test::ChildProgram program(AAA_EXAMPLES_DIR + name, std::move(arguments), directory_.path());
    Outcome outcome;
    outcome.output = program.remaining_output();
    outcome.errors = program.remaining_errors();
    outcome.exit_status = program.exit_status();
    return outcome;
  }

  test::TemporaryDirectory directory_;
  AaadSim sim_{directory_.path()};
};

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

TEST_F(ExamplesTest, LoginGivesUpWithoutAaad) {
  sim_.stop();
  const Outcome login = run("login", {"-w", "0", "alice", "secret"});
  EXPECT_EQ(login.exit_status, 2);
  EXPECT_THAT(login.errors, HasSubstr("aaad does not answer within 0 seconds"));
}

TEST_F(ExamplesTest, AccountingSendsStartInterimAndStopOfOneSession) {
  const Outcome accounting = run("accounting", {"alice", "4"});
  EXPECT_EQ(accounting.exit_status, 0) << accounting.errors;
  EXPECT_EQ(accounting.output,
            "start taken\ninterim report taken\nstopping: Idle timeout\nstop taken\n");
  // Behind the header of 16 bytes and the item's of 4: code_a at byte 4, 1, 3 and 2 in turn.
  std::string kinds;
  for (std::size_t i = 0; i < 3; ++i) {
    const auto report = sim_.wait_for_message(received(7), AaadSim::kPatience, i);
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
  for (const char* cause : {"soon", "0", "4294967296", ""}) {
    const Outcome accounting = run("accounting", {"alice", cause});
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

TEST_F(ExamplesTest, ProgramsSayThatAaadDoesNotRun) {
  sim_.stop();
  EXPECT_THAT(run("accounting", {"alice", "4"}).errors, HasSubstr("aaad does not run"));
  EXPECT_THAT(run("local_users", {"carol", "x"}).errors, HasSubstr("aaad does not run"));
}

}  // namespace
