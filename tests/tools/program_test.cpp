// The program aaad-sim, run as users run it.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <vector>

#include "raw_connection.h"
#include "support/eventually.h"
#include "support/temporary_directory.h"

namespace aaa_sim_test {
namespace {

using aaa_sim::FileDescriptor;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

struct Pipe {
  Pipe() {
    int ends[2];
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    read = FileDescriptor(ends[0]);
    write = FileDescriptor(ends[1]);
  }
  FileDescriptor read;
  FileDescriptor write;
};

// The program as a child process, with its three streams.
class Program {
 public:
  explicit Program(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), AAAD_SIM_PROGRAM);
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
      pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    pid_ = ::fork();
    if (pid_ == 0) {
      ::dup2(input_.read.get(), 0);
      ::dup2(output_.write.get(), 1);
      ::dup2(errors_.write.get(), 2);
      ::unsetenv("TMPDIR");
      ::execv(pointers[0], pointers.data());
      ::_exit(127);
    }
    input_.read.reset();
    output_.write.reset();
    errors_.write.reset();
  }
  ~Program() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void type(const std::string& line, const std::string& end = "\n") {
    const std::string text = line + end;
    EXPECT_EQ(::write(input_.write.get(), text.data(), text.size()),
              static_cast<ssize_t>(text.size()));
  }
  void close_input() { input_.write.reset(); }
  void signal(int number) { ::kill(pid_, number); }

  std::string output_line() { return line_of(output_.read); }
  std::string error_line() { return line_of(errors_.read); }
  // All that is still to come on standard error.
  std::string remaining_errors() {
    std::string all;
    for (std::string line; !(line = error_line()).empty();)
      all += line;
    return all;
  }

  // -1 when it does not end.
  int exit_status() {
    int status = 0;
    if (!test::eventually([&] { return ::waitpid(pid_, &status, WNOHANG) == pid_; })) return -1;
    pid_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  // Up to and with the line end; what there is when the stream ends or 10 seconds pass.
  static std::string line_of(const FileDescriptor& stream) {
    std::string line;
    pollfd wait{stream.get(), POLLIN, 0};
    char character;
    while (::poll(&wait, 1, 10000) == 1 && ::read(stream.get(), &character, 1) == 1) {
      line += character;
      if (character == '\n') break;
    }
    return line;
  }

  Pipe input_, output_, errors_;
  pid_t pid_ = 0;
};

class ProgramTest : public testing::Test {
 protected:
  std::vector<std::string> with(std::vector<std::string> options) const {
    options.insert(options.end(), {"--directory", directory_.path()});
    return options;
  }

  void expect_one_error(std::vector<std::string> arguments, const std::string& part) {
    Program program(std::move(arguments));
    const std::string errors = program.remaining_errors();
    EXPECT_THAT(errors, StartsWith("aaad-sim: "));
    EXPECT_THAT(errors, HasSubstr(part));
    EXPECT_EQ(std::ranges::count(errors, '\n'), 1) << errors;
    EXPECT_EQ(program.exit_status(), 2);
    EXPECT_EQ(program.output_line(), "");
  }

  test::TemporaryDirectory directory_;
  const std::string socket_ = directory_.path() + "/security/aaa/.aaa_domain_socket_fs";
};

TEST_F(ProgramTest, SaysWhereItListensAndEndsOnATerminationSignal) {
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
  Program program(with({"--quiet", "--aaa-id", "9", "--status", "acct_period=600", "--status",
                        "9=77", "--first-session-id", "500", "--session-ids", "2"}));
  program.output_line();
  RawConnection request(socket_);
  request.send(register_request());
  EXPECT_EQ(word_at(request.receive(20), 16), 9u);
  RawConnection event(socket_);
  event.send(register_event());
  const Bytes status = event.receive(56);
  EXPECT_EQ(word_at(status, 16 + 4), 600u);
  EXPECT_EQ(word_at(status, 16 + 36), 77u);
  request.send(hex("01010101 00000000 03000000 08000000  00000000 00000000"));
  EXPECT_EQ(request.receive(24), hex("01010101 00000000 03000000 08000000  f4010000 02000000"));
}

TEST_F(ProgramTest, ObeysCommandsAndGoesOnAfterABadOne) {
  Program program(with({"--quiet", "--control"}));
  program.output_line();
  RawClient client(socket_);
  program.type("nonsense");
  EXPECT_EQ(program.error_line(), "aaad-sim: unknown command 'nonsense', try help\n");
  program.type("send 105 7 ff");
  EXPECT_EQ(client.event.receive(17), hex("01010101 07000000 69000000 01000000 ff"));
  program.type("quit");
  EXPECT_EQ(program.exit_status(), 0);
}

TEST_F(ProgramTest, EndOfCommandsDoesNotEndIt) {
  Program program(with({"--quiet", "--control"}));
  program.output_line();
  program.close_input();
  RawClient client(socket_);
  program.signal(SIGTERM);
  EXPECT_EQ(program.exit_status(), 0);
}

TEST_F(ProgramTest, LastCommandNeedsNoLineEnd) {
  Program program(with({"--quiet", "--control"}));
  program.output_line();
  program.type("clients\nquit", "");
  program.close_input();
  EXPECT_EQ(program.exit_status(), 0);
}

TEST_F(ProgramTest, BadOptionIsOneLineAndStatus2) {
  expect_one_error(with({"--colour"}), "--colour");
  expect_one_error(with({"--aaa-id", "many"}), "many");
  expect_one_error(with({"--status", "colour=1"}), "--status: 'colour=1' is not WORD=VALUE");
  expect_one_error(with({"--fault", "event:0"}), "--fault: 'event:0' is not ROLE:TYPE=KIND");
  expect_one_error({}, "--directory");
}

TEST_F(ProgramTest, BadUserFileIsOneLineWithItsPlaceAndStatus2) {
  const std::string path = directory_.path() + "/users.toml";
  std::ofstream(path) << "[[user]]\nname = \"a\"\npassword = 7\n";
  expect_one_error(with({"--users", path}), path + ":3: password is not a string\n");
  std::ofstream(path) << "[[user]\n";
  expect_one_error(with({"--users", path}), path + ":1: ");
  expect_one_error(with({"--users", path + "x"}), path + "x: No such file or directory\n");
}

TEST_F(ProgramTest, DirectoryInUseIsOneLineAndStatus1) {
  Program first(with({}));
  first.output_line();
  Program second(with({}));
  EXPECT_THAT(second.error_line(), HasSubstr(socket_));
  EXPECT_EQ(second.exit_status(), 1);
}

}  // namespace
}  // namespace aaa_sim_test
