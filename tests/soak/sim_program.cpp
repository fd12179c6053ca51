#include "soak/sim_program.h"

#include <fstream>
#include <sstream>

#include "soak/soak_fixture.h"

namespace soak {
namespace {

constexpr std::uint32_t ids_of_a_run = 1'000'000;

// "PID (NAME) STATE ..."
bool is_stopped(pid_t process) {
  std::string text;
  std::getline(std::ifstream("/proc/" + std::to_string(process) + "/stat"), text);
  return text.find(") T") != std::string::npos;
}

}  // namespace

void SimProgram::start() {
  position_ = 0;
  registered_.clear();
  disorder_.clear();
  listening_ = false;
  const std::uint32_t first_id = 1 + ids_of_a_run * runs_++;
  std::vector<std::string> arguments = {"--directory",        directory_,
                                        "--first-session-id", std::to_string(first_id),
                                        "--session-ids",      std::to_string(session_ids)};
  arguments.insert(arguments.end(), options_.begin(), options_.end());
  process_.emplace(AAAD_SIM_PROGRAM, arguments, directory_, log_);
  EXPECT_TRUE(test::eventually([this] { return read_on(), listening_; }))
      << "aaad-sim does not start";
}

void SimProgram::suspend() {
  process_->signal(SIGSTOP);
  EXPECT_TRUE(test::eventually([this] { return is_stopped(process_->pid()); }))
      << "aaad-sim does not stop";
}

std::optional<double> SimProgram::registered_after(const std::string& client) {
  read_on();
  const auto found = registered_.find(client);
  if (found == registered_.end()) return std::nullopt;
  return found->second;
}

std::vector<std::string> SimProgram::disorder() {
  read_on();
  return disorder_;
}

void SimProgram::read_on() {
  std::ifstream log(log_);
  log.seekg(position_);
  for (std::string line; std::getline(log, line) && !log.eof(); position_ = log.tellg())
    take_line(line);
}

// "SECONDS send MODEL/PID event   102 (...) ..." is the end of a client's registration.
void SimProgram::take_line(const std::string& line) {
  if (tells_of_disorder(line)) disorder_.push_back(line);
  if (line.starts_with("aaad-sim: listening")) listening_ = true;
  std::istringstream words(line);
  double seconds = 0;
  std::string direction, client, role;
  std::uint32_t type = 0;
  words >> seconds >> direction >> client >> role >> type;
  if (direction == "send" && role == "event" && type == 102)
    registered_.try_emplace(client, seconds);
}

}  // namespace soak
