// A program that ends with the test, however the test ends, and whose output is in a file.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "support/eventually.h"

namespace real_test {

inline std::string content_of(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

class Process {
 public:
  // `command` is the program, found on the path, and its arguments; `output_file` gets both of its
  // output streams.
  Process(std::vector<std::string> command, std::string output_file)
      : name_(command.front()), output_file_(std::move(output_file)) {
    std::vector<char*> arguments;
    for (std::string& argument : command)
      arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    pid_ = ::fork();
    if (pid_ == 0) run(arguments.data());
    EXPECT_GT(pid_, 0) << name_ << " cannot be started";
  }
  ~Process() { stop(); }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  std::string output() const { return content_of(output_file_); }

  // Waits until the output contains `text`, `times` times. False, with the output as a failure of
  // the test, when it does not, or when the program ends without.
  bool prints(const std::string& text, std::size_t times = 1) {
    bool ended = false;
    const bool printed = test::eventually([&] {
      if (occurrences(text) >= times) return true;
      return ended || (ended = !is_running(), false);
    });
    if (printed && occurrences(text) >= times) return true;
    ADD_FAILURE() << name_ << " does not print '" << text << "' " << times << " times:\n"
                  << output();
    return false;
  }

  bool is_running() {
    if (!status_ && ::waitpid(pid_, &raw_status_, WNOHANG) == pid_) status_ = raw_status_;
    return !status_;
  }

  // 128 and the number of the signal that killed it, as a shell says; -1 when it does not end.
  int exit_status(std::chrono::milliseconds patience = test::kPatience) {
    if (!test::eventually([&] { return !is_running(); }, patience)) return -1;
    return WIFEXITED(*status_) ? WEXITSTATUS(*status_) : 128 + WTERMSIG(*status_);
  }

  void signal(int number) {
    if (is_running()) ::kill(pid_, number);
  }

  void stop() {
    signal(SIGTERM);
    if (exit_status(std::chrono::seconds(5)) != -1) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
    status_ = SIGKILL;
  }

 private:
  [[noreturn]] void run(char* const* arguments) const {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int null = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int out = ::open(output_file_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    ::dup2(null, 0);
    ::dup2(out, 1);
    ::dup2(out, 2);
    ::execvp(arguments[0], arguments);
    ::_exit(127);
  }

  std::size_t occurrences(const std::string& text) const {
    const std::string all = output();
    std::size_t count = 0;
    for (std::size_t at = 0; (at = all.find(text, at)) != std::string::npos; at += text.size())
      ++count;
    return count;
  }

  std::string name_;
  std::string output_file_;
  pid_t pid_ = -1;
  int raw_status_ = 0;
  std::optional<int> status_;
};

// What a program that is not installed is called in the line that says so; empty: all are there.
inline std::string missing_program(const std::vector<std::string>& programs) {
  for (const std::string& program : programs) {
    bool found = false;
    for (const char* directory : {"/usr/sbin/", "/usr/bin/", "/sbin/", "/bin/"})
      found = found || ::access((directory + program).c_str(), X_OK) == 0;
    if (!found) return program + " is not installed; script/bootstrap real installs it";
  }
  return "";
}

}  // namespace real_test
