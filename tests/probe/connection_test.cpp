// What aaa-probe says and returns when it cannot ask.
#include <unistd.h>

#include "probe_fixture.h"

namespace probe_test {
namespace {

using Commands = std::vector<std::vector<std::string>>;

class ProbeConnection : public ProbeTest {
 protected:
  // Runs them at the same time, because they wait for long.
  void expect_from_all(const Commands& commands, const std::string& timeout, int exit_status,
                       const std::string& errors) {
    std::vector<std::unique_ptr<test::ChildProgram>> programs;
    for (std::vector<std::string> command : commands) {
      command.insert(command.end(), {"--timeout", timeout});
      programs.push_back(std::make_unique<test::ChildProgram>(
          kBindingProgram, bound_arguments(command), directory_.path()));
      programs.back()->type("secret\nother");
    }
    for (std::size_t i = 0; i < commands.size(); ++i) {
      EXPECT_EQ(programs[i]->remaining_errors(), errors) << commands[i][0] << " " << i;
      EXPECT_EQ(programs[i]->remaining_output(), "");
      EXPECT_EQ(programs[i]->exit_status(), exit_status) << commands[i][0] << " " << i;
    }
  }

  void be_silent_for(const std::vector<std::uint32_t>& types) {
    sim_.change([&types](aaa_sim::Settings& settings) {
      settings.faults.clear();
      for (const std::uint32_t type : types)
        settings.faults[{aaa_sim::Role::request, type}] = aaa_sim::Fault::silent;
    });
  }
};

const Commands kCommands = {{"login", "alice", "--password-stdin"},
                            {"acct", "start", "alice", "--session", "1"},
                            {"query", "status"},
                            {"query", "method-list", "x"},
                            {"query", "group", "x"},
                            {"query", "session-id"},
                            {"passwd", "alice", "--password-stdin"},
                            {"ldap"},
                            {"watch"}};

TEST_F(ProbeConnection, NoDaemonIsStatusThreeForEveryCommand) {
  sim_.stop();
  expect_from_all(kCommands, "1", 3, "aaa-probe: aaad does not answer within 1 seconds\n");
}

TEST_F(ProbeConnection, ADaemonThatOnlyAcceptsConnectionsIsNone) {
  be_silent();
  expect(run({"--timeout", "1", "query", "status"}), 3, "",
         "aaa-probe: aaad does not answer within 1 seconds\n");
}

TEST_F(ProbeConnection, ARefusalIsStatusThree) {
  sim_.change([](aaa_sim::Settings& settings) { settings.aaa_id = aaa_sim::kRefused; });
  expect(run({"query", "status"}), 3, "", "aaa-probe: refused by aaad\n");
}

TEST_F(ProbeConnection, NoAnswerIsStatusFourForEveryRequest) {
  const std::string error = "aaa-probe: no answer within 2 seconds\n";
  be_silent_for({3, 5, 7, 9, 13, 117});
  expect_from_all({{"login", "alice", "--password-stdin", "--session", "1"},
                   {"acct", "stop", "alice", "--session", "1"},
                   {"query", "method-list", "x"},
                   {"query", "group", "x"},
                   {"query", "session-id"},
                   {"passwd", "alice", "--password-stdin"}},
                  "2", 4, error);
  be_silent_for({18, 32});
  expect_from_all({{"query", "method-list", "x"}, {"ldap"}}, "2", 4, error);
}

TEST_F(ProbeConnection, ALostConnectionIsStatusThree) {
  const auto close_all = [](const aaa_sim::Request&) -> aaa_sim::Replies { return {}; };
  for (const std::uint32_t type : {5u, 7u, 32u})
    sim_.set_answer(type, close_all);
  const std::pair<std::uint32_t, std::vector<std::string>> requests[] = {
      {5, {"login", "alice", "--password-stdin"}},
      {7, {"acct", "stop", "alice", "--session", "1"}},
      {32, {"ldap"}}};
  for (const auto& [type, command] : requests) {
    test::ChildProgram program(kBindingProgram, bound_arguments(command), directory_.path());
    program.type("secret");
    ASSERT_TRUE(sim_.wait_for_message(received(type)));
    sim_.close_connections();
    EXPECT_EQ(program.remaining_errors(), "aaa-probe: the connection to aaad was lost\n");
    EXPECT_EQ(program.remaining_output(), "");
    EXPECT_EQ(program.exit_status(), 3);
  }
}

TEST_F(ProbeConnection, TheDirectoryCanBeGiven) {
  const std::string& path = directory_.path();
  EXPECT_EQ(run_in("", {"-d", path, "query", "session-id"}).exit_status, 0);
  EXPECT_EQ(run_in("/nowhere", {"query", "session-id", "--directory", path}).exit_status, 0);
  expect(run_in("", {"query", "status"}), 64, "",
         "aaa-probe: --directory is required when TMPDIR is not set\n");
  expect(run({"-d", "relative", "query", "status"}), 64, "",
         "aaa-probe: --directory: must begin with / and have at most 69 bytes\n");
  expect(run({"-d", "/dev/null", "query", "status"}), 3, "",
         "aaa-probe: cannot make the sockets in this directory\n");
}

TEST_F(ProbeConnection, TheUserOfTheDaemonCanBeGiven) {
  const std::string uid = std::to_string(::getuid()), other = std::to_string(::getuid() + 1);
  EXPECT_EQ(run({"--aaad-uid", uid, "query", "session-id"}).exit_status, 0);
  const Outcome refused = run({"--aaad-uid", other, "--timeout", "1", "query", "session-id"});
  EXPECT_EQ(refused.exit_status, 3);
  EXPECT_THAT(refused.errors, HasSubstr("belongs to user " + uid + ", not to user " + other));
}

TEST_F(ProbeConnection, AMisuseIsStatus64AndSaysWhy) {
  const std::pair<std::vector<std::string>, std::string> misuses[] = {
      {{}, "A subcommand is required"},
      {{"query"}, "A subcommand is required"},
      {{"acct"}, "A subcommand is required"},
      {{"login"}, "USER is required"},
      {{"login", std::string(65, 'x')}, "USER: must have 1 to 64 bytes"},
      {{"login", ""}, "USER: must have 1 to 64 bytes"},
      {{"--timeout", "0", "ldap"}, "--timeout: '0' is not a number from 1 to 3600"},
      {{"--timeout", "1x", "ldap"}, "--timeout: '1x' is not a number from 1 to 3600"},
      {{"--aaad-uid", "root", "ldap"}, "--aaad-uid: 'root' is not a user id"},
      {{"login", "alice", "--state", "abc"}, "--state: 'abc' is not hexadecimal digits"},
      {{"login", "alice", "--state", "xy"}, "--state: 'xy' is not hexadecimal digits"},
      {{"login", "alice", "--nas-ip-address", "1.2.3"},
       "--nas-ip-address: '1.2.3' is not an IPv4 address"},
      {{"login", "alice", "--repeat", "0"}, "--repeat: '0' is not a number from 1 to 4294967295"},
      {{"login", "alice", "--parallel", "1001"},
       "--parallel: '1001' is not a number from 1 to 1000"},
      {{"query", "method-list", "x", "--kind", "11"}, "--kind: '11' is not a number from 0 to 10"},
      {{"query", "group", "x", "--state", "-1"},
       "--state: '-1' is not a number from 0 to 4294967295"}};
  for (const auto& [arguments, text] : misuses)
    expect(run(arguments), 64, "", "aaa-probe: " + text + "\n");
  EXPECT_EQ(run({"login", "alice", "--password", "secret"}).exit_status, 64);
  EXPECT_EQ(run({"login", "alice", "--password-stdin", "--password-file", "x"}).exit_status, 64);
  EXPECT_EQ(run({"login", "alice", "--rate", "0"}).exit_status, 64);
  EXPECT_EQ(run({"acct", "start", "a", "--session", "1", "--seconds", "1"}).exit_status, 64);
}

TEST_F(ProbeConnection, HelpAndVersionNeedNoDaemon) {
  sim_.stop();
  expect(run({"--version"}), 0, "aaa-probe " AAA_PROBE_VERSION "\n");
  const Outcome help = run({"--help"});
  EXPECT_EQ(help.exit_status, 0);
  EXPECT_THAT(help.output, HasSubstr("Exit status: 0 accepted, 1 rejected, 2 challenge left open, "
                                     "3 no daemon, 4 time-out, 64 usage."));
  EXPECT_THAT(run({"acct", "stop", "--help"}).output, HasSubstr("--terminate-cause"));
}

TEST_F(ProbeConnection, EveryCommandDeregisters) {
  EXPECT_EQ(run({"query", "session-id"}).exit_status, 0);
  EXPECT_TRUE(sim_.wait_for_message(received(2)));
}

}  // namespace
}  // namespace probe_test
