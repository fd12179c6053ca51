// A program on a terminal of its own.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include "server/file_descriptor.h"
#include "support/eventually.h"

namespace probe_test {

class TerminalProgram {
 public:
  TerminalProgram(std::vector<std::string> arguments, const std::string& tmpdir)
      : master_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    EXPECT_TRUE(::grantpt(master_.get()) == 0 && ::unlockpt(master_.get()) == 0);
    name_ = ::ptsname(master_.get());
    // Keeps the terminal's modes when the program has ended.
    slave_ = aaa_sim::FileDescriptor(::open(name_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
      pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    std::string variable = "TMPDIR=" + tmpdir;
    char* environment[] = {variable.data(), nullptr};
    pid_ = ::fork();
    if (pid_ == 0) become(pointers.data(), environment);
    EXPECT_GT(pid_, 0);
  }
  ~TerminalProgram() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  TerminalProgram(const TerminalProgram&) = delete;
  TerminalProgram& operator=(const TerminalProgram&) = delete;

  void type(const std::string& keys) {
    EXPECT_EQ(::write(master_.get(), keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
  }

  // All that the terminal shows until `text` is at the end of it.
  std::string shown_until(const std::string& text) {
    std::string shown;
    while (!shown.ends_with(text)) {
      const std::string more = next_shown(10000, 1);
      if (more.empty()) {
        ADD_FAILURE() << "'" << text << "' is not shown, but '" << shown << "'";
        break;
      }
      shown += more;
    }
    return shown;
  }

  bool has_echo() const {
    termios modes{};
    EXPECT_EQ(::tcgetattr(slave_.get(), &modes), 0);
    return (modes.c_lflag & ECHO) != 0;
  }

  // The exit status, or the negated number of the signal.
  int end() {
    int status = 0;
    EXPECT_TRUE(test::eventually([&] { return ::waitpid(pid_, &status, WNOHANG) == pid_; }))
        << "does not end";
    pid_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  // What is shown and not read when the program has ended.
  std::string rest() {
    std::string shown;
    for (std::string more; !(more = next_shown(0, 1024)).empty();)
      shown += more;
    return shown;
  }

 private:
  // In the child, which may only make system calls.
  [[noreturn]] void become(char** arguments, char** environment) const {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::setsid();
    ::ioctl(slave_.get(), TIOCSCTTY, 0);
    for (int stream = 0; stream < 3; ++stream)
      ::dup2(slave_.get(), stream);
    ::execve(arguments[0], arguments, environment);
    ::_exit(127);
  }

  std::string next_shown(int milliseconds, std::size_t size) {
    pollfd wait{master_.get(), POLLIN, 0};
    if (::poll(&wait, 1, milliseconds) != 1) return "";
    std::string bytes(size, '\0');
    const ssize_t count = ::read(master_.get(), bytes.data(), size);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
  }

  aaa_sim::FileDescriptor master_, slave_;
  std::string name_;
  pid_t pid_ = 0;
};

}  // namespace probe_test
