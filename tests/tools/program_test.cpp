// The program aaad-sim: options, output, commands and exit status.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <vector>

#include "support/child_program.h"
#include "support/temporary_directory.h"
#include "tools/raw_client.h"

namespace aaa_sim_test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

struct Program : test::ChildProgram {
  // An empty `tmpdir`: TMPDIR is not set.
  explicit Program(std::vector<std::string> arguments, const std::string& tmpdir = "")
      : ChildProgram(AAAD_SIM_PROGRAM, std::move(arguments), tmpdir) {}
};

class ProgramTest : public testing::Test {
 protected:
  std::vector<std::string> with(std::vector<std::string> options) const {
    options.insert(options.end(), {"--directory", directory_.path()});
    return options;
  }

  void expect_one_error(std::vector<std::string> arguments, const std::string& part,
                        const std::string& tmpdir = "") {
    Program program(std::move(arguments), tmpdir);
    const std::string errors = program.error_line();
    EXPECT_THAT(errors, StartsWith("aaad-sim: "));
    EXPECT_THAT(errors, HasSubstr(part));
    EXPECT_EQ(program.exit_status(), 2);
    EXPECT_EQ(program.remaining_errors(), "");
    EXPECT_EQ(program.output_line(), "");
  }

  test::TemporaryDirectory directory_;
  const std::string socket_ = directory_.path() + "/security/aaa/.aaa_domain_socket_fs";
};

TEST_F(ProgramTest, PrintsItsSocketAndEndsOnASignal) {
  for (const int signal : {SIGTERM, SIGINT}) {
    Program program(with({}));
    EXPECT_EQ(program.output_line(), "aaad-sim: listening on " + socket_ + "\n");
    program.signal(signal);
    EXPECT_EQ(program.exit_status(), 0);
    EXPECT_NE(::access(socket_.c_str(), F_OK), 0) << "socket file left";
  }
}

TEST_F(ProgramTest, PrintsALineForEachMessage) {
  Program program(with({"--aaa-id", "9"}));
  program.output_line();
  RawClient client(socket_);
  const std::string name = "netd/" + std::to_string(::getpid());
  EXPECT_THAT(program.output_line(),
              EndsWith("recv " + name + " request   0 (register request) id 0 len 6\n"));
  EXPECT_THAT(program.output_line(),
              EndsWith("send " + name + " request 100 (register response) id 0 len 4\n"));
}

TEST_F(ProgramTest, OptionsReachTheClients) {
  Program program(with({"--quiet", "--aaa-id", "010", "--status", "acct_period=600", "--status",
                        "9=77", "--first-session-id", "500", "--session-ids", "2"}));
  program.output_line();
  RawConnection request(socket_);
  request.send(register_request());
  EXPECT_EQ(word_at(request.receive(20), 16), 10u) << "decimal";
  RawConnection event(socket_);
  event.send(register_event());
  const std::string status = event.receive(56);
  EXPECT_EQ(word_at(status, 16 + 4), 600u);
  EXPECT_EQ(word_at(status, 16 + 36), 77u);
  request.send(message_bytes(3, zeros(8)));
  EXPECT_EQ(request.receive(24), message_bytes(3, hex("f4010000 02000000")));
}

TEST_F(ProgramTest, BackendOptionsReachTheClients) {
  const std::string ldif = directory_.path() + "/entries.ldif";
  std::ofstream(ldif) << "dn: cn=a\n";
  Program program(with({"--quiet", "--method-list", "1:default=3", "--server-statistic", "4=77",
                        "--ldif", ldif, "--local-user", "carol:rose:bud"}));
  program.output_line();
  RawClient client(socket_);
  client.request.send(message_bytes(18, hex("01000000")));
  EXPECT_EQ(word_at(client.request.receive_message(), 16), 3u);
  client.request.send(message_bytes(12, zeros(392) + hex("04000000")));
  EXPECT_EQ(word_at(client.request.receive_message(), 16), 77u);
  client.request.send(message_bytes(32, zeros(40)));
  EXPECT_EQ(word_at(client.event.receive_message(), 16 + 16), 1u);
  client.request.send(message_bytes(119, "carol"));
  const std::string carol = client.request.receive_message();
  EXPECT_THAT(carol, EndsWith("rose:bud"));
}

TEST_F(ProgramTest, LocalUsersInAFileOutliveIt) {
  const std::string file = directory_.path() + "/local.db";
  {
    Program program(with({"--local-users", file, "--local-user", "carol:rosebud"}));
    program.output_line();
    program.signal(SIGTERM);
    EXPECT_EQ(program.exit_status(), 0);
  }
  Program program(with({"--local-users", file, "--local-user", "carol:other"}));
  program.output_line();
  RawClient client(socket_);
  client.request.send(message_bytes(119, "carol"));
  const std::string carol = client.request.receive_message();
  EXPECT_THAT(carol, EndsWith("rosebud"));
}

TEST_F(ProgramTest, BadLocalUsersFileIsOneLineAndStatus1) {
  const std::string file = directory_.path() + "/missing/local.db";
  Program program(with({"--local-users", file}));
  EXPECT_EQ(program.remaining_errors(), "aaad-sim: " + file + ": unable to open database file\n");
  EXPECT_EQ(program.exit_status(), 1);
}

TEST_F(ProgramTest, RunsCommandsAndContinuesAfterABadOne) {
  Program program(with({"--quiet", "--control"}));
  program.output_line();
  RawClient client(socket_);
  program.type("nonsense");
  EXPECT_EQ(program.error_line(), "aaad-sim: unknown command 'nonsense', try help\n");
  program.type("send 105 7 ff");
  EXPECT_EQ(client.event.receive(17), message_with_id(7, 105, hex("ff")));
  program.type("quit");
  EXPECT_EQ(program.exit_status(), 0);
}

TEST_F(ProgramTest, RunsOnAfterTheLastCommandWhichNeedsNoLineEnd) {
  Program program(with({"--quiet", "--control"}));
  program.output_line();
  RawClient client(socket_);
  program.type("mlist\nheartbeat", "");
  program.close_input();
  EXPECT_EQ(client.event.receive(32), message_bytes(122) + message_bytes(132));
  program.signal(SIGTERM);
  EXPECT_EQ(program.exit_status(), 0);
}

TEST_F(ProgramTest, BadOptionIsOneLineAndStatus2) {
  expect_one_error(with({"--colour"}), "--colour");
  expect_one_error(with({"--aaa-id", "many"}), "many");
  expect_one_error(with({"--status", "colour=1"}), "--status: 'colour=1' is not WORD=VALUE");
  expect_one_error(with({"--fault", "event:0"}), "--fault: 'event:0' is not ROLE:TYPE=KIND");
  expect_one_error(with({"--method-list", "1:default"}),
                   "--method-list: '1:default' is not KIND:NAME=STATE");
  expect_one_error(with({"--server-statistic", "4"}), "--server-statistic: '4' is not WORD=VALUE");
  expect_one_error(with({"--local-user", "carol"}), "--local-user: 'carol' is not NAME:PASSWORD");
}

TEST_F(ProgramTest, EmptyNameOfAFileIsRefused) {
  for (const std::string option : {"--users", "--radius", "--ldif", "--local-users", "--capture"})
    expect_one_error(with({option, ""}), option + ": the name is empty\n");
}

TEST_F(ProgramTest, NumbersWithOtherCharactersAreRefused) {
  for (const std::string option :
       {"--aaa-id", "--first-session-id", "--session-ids", "--heartbeat-interval", "--delay"}) {
    for (const std::string number : {"7x", "-1", "4294967296", "1e3", " 7", "+7", "", "0x"})
      expect_one_error(with({option + "=" + number}), option);
  }
  expect_one_error(with({"--delay", "7x"}), "--delay: '7x' is not a number from 0 to 4294967295\n");
}

TEST_F(ProgramTest, PrintsVersionAndHelp) {
  Program version({"--version"});
  EXPECT_EQ(version.output_line(), "aaad-sim " AAAD_SIM_VERSION "\n");
  EXPECT_EQ(version.exit_status(), 0);
  Program help({"--help"});
  const std::string text = help.remaining_output();
  EXPECT_THAT(text, HasSubstr("aaad-sim's convention for a result's sub.num_a: 0 accepted, "
                              "1 rejected, 3 challenge, 4 no server answered.\n"));
  EXPECT_THAT(text, HasSubstr("\nclients "));
  EXPECT_EQ(help.exit_status(), 0);
}

TEST_F(ProgramTest, DirectoryIsTmpdirUnlessGiven) {
  Program program({}, directory_.path());
  EXPECT_EQ(program.output_line(), "aaad-sim: listening on " + socket_ + "\n");
  expect_one_error({}, "--directory is required when TMPDIR is not set\n");
}

TEST_F(ProgramTest, DirectoryThatClientsRefuseIsRefused) {
  for (const std::string directory : {"a/b", "..", "../a", "~", ".a", " /tmp"}) {
    expect_one_error({"--directory", directory},
                     "--directory: '" + directory + "' must begin with / or ./\n");
  }
  expect_one_error({}, "TMPDIR: 'a/b' must begin with / or ./\n", "a/b");
}

TEST_F(ProgramTest, DirectoryThatLeavesNoRoomForSocketNamesIsRefused) {
  for (const std::size_t size : {73, 76, 300}) {
    expect_one_error(
        {"--directory", directory_.path_of_size(size)},
        "is " + std::to_string(size) + " bytes long, socket names leave room for 69\n");
  }
  const std::string longest = directory_.path_of_size(72);
  Program program({"--directory", longest});
  EXPECT_EQ(program.output_line(),
            "aaad-sim: listening on " + longest + "/security/aaa/.aaa_domain_socket_fs\n");
}

TEST_F(ProgramTest, RelativeDirectoryNeedsAShortCurrentDirectory) {
  const auto before = std::filesystem::current_path();
  const auto longest = directory_.path_of_size(127);
  for (const std::string& current : {longest, longest + "d"}) {
    std::filesystem::create_directory(current);
    std::filesystem::current_path(current);
    if (current == longest) {
      Program program({"--directory", "./a"});
      EXPECT_THAT(program.output_line(), StartsWith("aaad-sim: listening on ./a/"));
    } else {
      expect_one_error({"--directory", "./a"},
                       "is relative to a directory with a name of more than 127 bytes\n");
    }
  }
  std::filesystem::current_path(before);
}

TEST_F(ProgramTest, FileInPlaceOfTheDirectoryIsOneLineAndStatus1) {
  const std::string file = directory_.path() + "/file";
  std::ofstream(file) << "text";
  Program program({"--directory", file});
  EXPECT_EQ(program.error_line(), "aaad-sim: " + file + "/security/aaa: Not a directory\n");
  EXPECT_EQ(program.exit_status(), 1);
}

TEST_F(ProgramTest, BadFilesAreOneLineWithTheirPlaceAndStatus2) {
  const std::string path = directory_.path() + "/file";
  std::ofstream(path) << "[[user]]\nname = \"a\"\npassword = 7\n";
  expect_one_error(with({"--users", path}), path + ":3: password is not a string\n");
  std::ofstream(path) << "[[user]\n";
  expect_one_error(with({"--users", path}), path + ":1: ");
  expect_one_error(with({"--users", path + "x"}), path + "x: No such file or directory\n");
  std::ofstream(path) << "dn: cn=a\ncn\n";
  expect_one_error(with({"--ldif", path}), path + ":2: expected 'name: value'\n");
  expect_one_error(with({"--ldif", path + "x"}), path + "x: No such file or directory\n");
  for (const std::string option : {"--users", "--ldif", "--radius"}) {
    expect_one_error(with({option, directory_.path()}), directory_.path() + ": Is a directory\n");
    // Opens, and fails when it is read.
    expect_one_error(with({option, "/proc/self/mem"}), "/proc/self/mem: Input/output error\n");
  }
}

TEST_F(ProgramTest, DirectoryInUseIsOneLineAndStatus1) {
  Program first(with({}));
  first.output_line();
  Program second(with({}));
  EXPECT_THAT(second.error_line(), HasSubstr(socket_));
  EXPECT_EQ(::access(socket_.c_str(), F_OK), 0);
  EXPECT_EQ(second.exit_status(), 1);
}

}  // namespace
}  // namespace aaa_sim_test
