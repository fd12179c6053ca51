// The program aaad-sim, which is killed and started again. What it prints tells which clients have
// registered, and when.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/child_program.h"

namespace soak {

class SimProgram {
 public:
  static constexpr std::uint32_t session_ids = 5;  // in a block

  explicit SimProgram(std::string directory, std::vector<std::string> options = {})
      : directory_(std::move(directory)), options_(std::move(options)) {}

  // Listens when it returns. No session id is granted that an earlier run has granted.
  void start();
  void kill() { process_.reset(); }
  // Stopped, as by a debugger, when it returns.
  void suspend();
  void resume() { process_->signal(SIGCONT); }

  // Seconds from the start until the client, "model/pid", had both connections registered.
  std::optional<double> registered_after(const std::string& client);
  // Remarks of this run about clients that are out of step.
  std::vector<std::string> disorder();

 private:
  void read_on();
  void take_line(const std::string& line);

  const std::string directory_;
  const std::vector<std::string> options_;
  const std::string log_ = directory_ + "/aaad-sim.log";
  std::optional<test::ChildProgram> process_;
  std::uint32_t runs_ = 0;

  // From the log of this run, as far as it has been read.
  std::streamoff position_ = 0;
  bool listening_ = false;
  std::map<std::string, double> registered_;
  std::vector<std::string> disorder_;
};

}  // namespace soak
