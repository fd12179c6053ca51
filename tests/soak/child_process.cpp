#include "soak/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "support/eventually.h"

namespace soak {
namespace {

void check(int error, const char* what) {
  if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

class Streams {
 public:
  Streams(int input, const std::string& output_file) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_adddup2(&actions_, input, STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, output_file.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
  }
  ~Streams() { posix_spawn_file_actions_destroy(&actions_); }
  Streams(const Streams&) = delete;
  Streams& operator=(const Streams&) = delete;

  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
};

std::vector<char*> pointers_to(std::vector<std::string>& arguments) {
  std::vector<char*> pointers;
  for (std::string& argument : arguments)
    pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> arguments, const std::string& output_file) {
  int ends[2];
  check(::pipe2(ends, O_CLOEXEC) == 0 ? 0 : errno, "pipe");
  input_ = ends[1];
  const Streams streams(ends[0], output_file);
  const int error = ::posix_spawn(&pid_, arguments[0].c_str(), streams.get(), nullptr,
                                  pointers_to(arguments).data(), environ);
  ::close(ends[0]);
  check(error, arguments[0].c_str());
}

ChildProcess::~ChildProcess() {
  kill_at_once();
  ask_to_end();
}

void ChildProcess::kill_at_once() {
  if (pid_ == 0) return;
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
  pid_ = 0;
}

void ChildProcess::ask_to_end() {
  if (input_ >= 0) ::close(input_);
  input_ = -1;
}

int ChildProcess::wait_for_end(std::chrono::milliseconds patience) {
  int status = -1;
  if (!test::eventually([&] { return has_ended(status); }, patience)) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool ChildProcess::has_ended(int& status) {
  if (::waitpid(pid_, &status, WNOHANG) != pid_) return false;
  pid_ = 0;
  return true;
}

}  // namespace soak
