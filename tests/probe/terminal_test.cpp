// aaa-probe on a terminal.
#include "probe_fixture.h"
#include "terminal_program.h"

namespace probe_test {
namespace {

class ProbeTerminal : public ProbeTest {
 protected:
  ProbeTerminal() {
    sim_.add_user({.name = "alice", .password = "secret"});
    sim_.add_user({.name = "bob",
                   .password = "code",
                   .verdict = aaa_sim::Verdict::challenge,
                   .reply_message = "Token:",
                   .state = "step-2"});
  }

  std::unique_ptr<TerminalProgram> start(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), AAA_PROBE_PROGRAM);
    return std::make_unique<TerminalProgram>(std::move(arguments), directory_.path());
  }
};

TEST_F(ProbeTerminal, ThePasswordIsAskedForWithoutEcho) {
  const auto probe = start({"login", "alice"});
  EXPECT_EQ(probe->shown_until(": "), "Password: ");
  EXPECT_FALSE(probe->has_echo());
  probe->type("secret\n");
  EXPECT_EQ(probe->end(), 0);
  EXPECT_EQ(probe->rest(), "\r\nresult: accepted\r\nsession: 1\r\nuser: alice\r\n");
  EXPECT_TRUE(probe->has_echo());
}

TEST_F(ProbeTerminal, AChallengeIsAnsweredInTheSameSession) {
  const auto probe = start({"login", "bob", "--json"});
  probe->shown_until("Password: ");
  probe->type("code\n");
  EXPECT_EQ(probe->shown_until(": "), "\r\nToken: ");
  EXPECT_FALSE(probe->has_echo());
  probe->type("code\n");
  EXPECT_EQ(probe->end(), 0);
  EXPECT_EQ(
      probe->rest(),
      "\r\n{\"result\":\"accepted\",\"session\":1,\"user\":\"bob\",\"message\":\"Token:\"}\r\n");
  const auto answer = sim_.wait_for_message(received(5), aaa_sim::AaadSim::kTimeout, 1);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->header.id, 1u);
}

TEST_F(ProbeTerminal, AChallengeWithoutAMessageIsAskedForToo) {
  sim_.set_answer(5, answer_with(3, test::item_bytes(24, "s")));
  const auto probe = start({"login", "alice"});
  probe->shown_until("Password: ");
  probe->type("secret\n");
  probe->shown_until("\r\nAnswer: ");
  probe->type("1\n");
  probe->shown_until("\r\nAnswer: ");
  probe->type("\x04");
  EXPECT_EQ(probe->end(), 2);
  EXPECT_EQ(probe->rest(), "result: challenge\r\nsession: 1\r\nstate: 73\r\n");
}

TEST_F(ProbeTerminal, TheAnswerToAKnownStateIsAskedFor) {
  const auto probe = start({"login", "bob", "--state", "737465702d32"});
  probe->shown_until("Answer: ");
  probe->type("code\n");
  EXPECT_EQ(probe->end(), 0);
}

// A pipeline has a terminal, too, but its password is for scripts.
TEST_F(ProbeTerminal, AChallengeStaysOpenWhenThePasswordIsNotTyped) {
  const auto probe = start({"login", "bob", "--password-file", file_with("code")});
  EXPECT_EQ(probe->end(), 2);
  EXPECT_EQ(probe->rest(),
            "result: challenge\r\nsession: 1\r\nuser: bob\r\nmessage: Token:\r\n"
            "state: 737465702d32\r\n");
}

TEST_F(ProbeTerminal, AnInterruptRestoresTheEcho) {
  const auto probe = start({"login", "alice"});
  probe->shown_until("Password: ");
  EXPECT_FALSE(probe->has_echo());
  probe->type("\x03");
  EXPECT_EQ(probe->end(), -SIGINT);
  EXPECT_TRUE(probe->has_echo());
}

TEST_F(ProbeTerminal, WithoutATerminalOrAPasswordItSaysWhatToGive) {
  const std::string text =
      "aaa-probe: no password typed on a terminal; give --password-stdin or --password-file";
  const auto probe = start({"login", "alice"});
  probe->shown_until("Password: ");
  probe->type("\x04");
  EXPECT_EQ(probe->end(), 64);
  EXPECT_EQ(probe->rest(), text + "\r\n");
  test::ChildProgram program(
      kBindingProgram,
      {"--pdeathsig", "KILL", "--", "/usr/bin/setsid", AAA_PROBE_PROGRAM, "login", "alice"},
      directory_.path());
  EXPECT_EQ(program.remaining_errors(), text + "\n");
  EXPECT_EQ(program.exit_status(), 64);
}

TEST_F(ProbeTerminal, ANewPasswordIsTypedTwice) {
  sim_.put_local_user({.name = "carol", .string_19 = "rosebud"});
  const auto change = [this](const std::string& again) {
    auto probe = start({"passwd", "carol"});
    probe->shown_until("Password: ");
    probe->type("rosebud\n");
    probe->shown_until("\r\nNew password: ");
    probe->type("xanadu-1\n");
    probe->shown_until("\r\nNew password again: ");
    probe->type(again + "\n");
    return probe;
  };
  const auto wrong = change("xanadu-2");
  EXPECT_EQ(wrong->end(), 64);
  EXPECT_EQ(wrong->rest(), "\r\naaa-probe: the two passwords differ\r\n");
  EXPECT_EQ(sim_.local_user("carol")->string_19, "rosebud");
  const auto right = change("xanadu-1");
  EXPECT_EQ(right->end(), 0);
  EXPECT_EQ(right->rest(), "\r\nresult: changed\r\nuser: carol\r\n");
  EXPECT_EQ(sim_.local_user("carol")->string_19, "xanadu-1");
}

TEST_F(ProbeTerminal, ProgressIsALineThatIsCleared) {
  const auto probe = start({"login", "alice", "--repeat", "21", "--rate", "40", "--json"});
  probe->shown_until("Password: ");
  probe->type("secret\n");
  probe->shown_until("\r\n\r\x1b[K0 of 21, 0 not accepted");
  EXPECT_THAT(probe->shown_until("{"), testing::ContainsRegex("\r\x1b\\[K[1-9][0-9]* of 21, 0 not "
                                                              "accepted"));
  EXPECT_THAT(probe->shown_until("\n"), testing::StartsWith("\"requests\":21,\"accepted\":21,"));
  EXPECT_EQ(probe->end(), 0);
}

}  // namespace
}  // namespace probe_test
