// aaa-dissect --tap between clients and a simulated aaad of this process.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "aaad_sim.h"
#include "dissect/dissect_fixture.h"

namespace dissect_test {

class Tap {
 public:
  // Where clients connect, and where it connects to.
  Tap(const std::string& directory, const std::string& daemon_directory,
      std::vector<std::string> options = {})
      : directory_(directory) {
    options.insert(options.end(),
                   {"--tap", directory, "--directory", daemon_directory, "--write", capture_});
    program_.emplace(AAA_DISSECT_PROGRAM, std::move(options), "", printed_);
    EXPECT_EQ(program_->error_line(), "aaa-dissect: listening on " + socket() + "\n");
  }

  std::string socket() const { return directory_ + "/security/aaa/.aaa_domain_socket_fs"; }
  BoundProgram& program() { return *program_; }
  void signal(int number) { program_->signal(number); }
  int exit_status() { return program_->exit_status(); }

  // Ends it, without a word.
  void end() {
    signal(SIGTERM);
    EXPECT_EQ(exit_status(), 0);
    EXPECT_EQ(program_->remaining_errors(), "");
    EXPECT_NE(::access(socket().c_str(), F_OK), 0) << "socket file left";
  }

  std::string capture() const { return contents_of(capture_); }
  // As JSON, one for each message.
  std::vector<nlohmann::json> captured() const {
    const Outcome outcome = dissect({"--json", capture_});
    EXPECT_EQ(outcome.exit_status, 0) << outcome.errors;
    std::vector<nlohmann::json> messages;
    for (const std::string& line : split_lines(outcome.output))
      messages.push_back(nlohmann::json::parse(line));
    return messages;
  }
  std::size_t captured(std::uint32_t type) const {
    const auto messages = captured();
    return static_cast<std::size_t>(std::count_if(
        messages.begin(), messages.end(), [type](const auto& m) { return m["type"] == type; }));
  }
  std::string printed() const { return contents_of(printed_); }

 private:
  const std::string directory_;
  const std::string capture_ = directory_ + "/tapped", printed_ = directory_ + "/printed";
  std::optional<BoundProgram> program_;
};

}  // namespace dissect_test
