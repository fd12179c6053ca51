// A program that runs as a child process, with its standard input at hand.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace soak {

class ChildProcess {
 public:
  // Starts the program arguments[0]. Its standard output goes into the file.
  ChildProcess(std::vector<std::string> arguments, const std::string& output_file);
  // Kills it, if it still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }

  void kill_at_once();
  // Closes its standard input.
  void ask_to_end();
  // Its exit status; -1 when it was killed or has not ended by then.
  int wait_for_end(std::chrono::milliseconds patience);

 private:
  bool has_ended(int& status);

  pid_t pid_ = 0;  // 0 once it has ended
  int input_ = -1;
};

}  // namespace soak
