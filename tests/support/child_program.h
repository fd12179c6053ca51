// A program as a child process, with its three streams as pipes.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include "server/file_descriptor.h"
#include "support/eventually.h"

namespace test {

class ChildProgram {
 public:
  // An empty `tmpdir`: the program gets no TMPDIR. With `output_file` its standard output goes
  // there.
  ChildProgram(const std::string& program, std::vector<std::string> arguments,
               const std::string& tmpdir, const std::string& output_file = "") {
    arguments.insert(arguments.begin(), program);
    std::vector<std::string> environment = environment_with(tmpdir);
    posix_spawn_file_actions_t streams;
    ::posix_spawn_file_actions_init(&streams);
    ::posix_spawn_file_actions_adddup2(&streams, input_.read.get(), 0);
    ::posix_spawn_file_actions_adddup2(&streams, output_.write.get(), 1);
    ::posix_spawn_file_actions_adddup2(&streams, errors_.write.get(), 2);
    if (!output_file.empty())
      ::posix_spawn_file_actions_addopen(&streams, 1, output_file.c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
    EXPECT_EQ(::posix_spawn(&pid_, program.c_str(), &streams, nullptr, pointers(arguments).data(),
                            pointers(environment).data()),
              0)
        << program;
    ::posix_spawn_file_actions_destroy(&streams);
    input_.read.reset();
    output_.write.reset();
    errors_.write.reset();
  }
  ~ChildProgram() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  ChildProgram(const ChildProgram&) = delete;
  ChildProgram& operator=(const ChildProgram&) = delete;

  void type(const std::string& line, const std::string& end = "\n") {
    const std::string text = line + end;
    EXPECT_EQ(::write(input_.write.get(), text.data(), text.size()),
              static_cast<ssize_t>(text.size()));
  }
  void close_input() { input_.write.reset(); }
  void signal(int number) { ::kill(pid_, number); }
  pid_t pid() const { return pid_; }

  std::string output_line() { return line_of(output_.read); }
  std::string error_line() { return line_of(errors_.read); }
  // All that is still to come.
  std::string remaining_output() { return rest_of(output_.read); }
  std::string remaining_errors() { return rest_of(errors_.read); }

  // -1 when it does not end.
  int exit_status(std::chrono::milliseconds patience = kPatience) {
    int status = 0;
    if (!eventually([&] { return ::waitpid(pid_, &status, WNOHANG) == pid_; }, patience)) return -1;
    pid_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  struct Pipe {
    Pipe() {
      int ends[2];
      EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
      read = aaa_sim::FileDescriptor(ends[0]);
      write = aaa_sim::FileDescriptor(ends[1]);
    }
    aaa_sim::FileDescriptor read;
    aaa_sim::FileDescriptor write;
  };

  static std::vector<std::string> environment_with(const std::string& tmpdir) {
    std::vector<std::string> environment;
    for (char** variable = environ; *variable != nullptr; ++variable) {
      environment.emplace_back(*variable);
      if (environment.back().starts_with("TMPDIR=")) environment.pop_back();
    }
    if (!tmpdir.empty()) environment.push_back("TMPDIR=" + tmpdir);
    return environment;
  }

  static std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts)
      result.push_back(text.data());
    result.push_back(nullptr);
    return result;
  }

  // Up to and with the line end; what there is when the stream ends or 10 seconds pass.
  static std::string line_of(const aaa_sim::FileDescriptor& stream) {
    std::string line;
    pollfd wait{stream.get(), POLLIN, 0};
    char character;
    while (::poll(&wait, 1, 10000) == 1 && ::read(stream.get(), &character, 1) == 1) {
      line += character;
      if (character == '\n') break;
    }
    return line;
  }

  static std::string rest_of(const aaa_sim::FileDescriptor& stream) {
    std::string all;
    for (std::string line; !(line = line_of(stream)).empty();)
      all += line;
    return all;
  }

  Pipe input_, output_, errors_;
  pid_t pid_ = 0;
};

}  // namespace test
