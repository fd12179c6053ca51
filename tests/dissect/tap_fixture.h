// aaa-dissect --tap between clients and a simulated aaad of this process.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "aaad_sim.h"
#include "dissect/dissect_fixture.h"
#include "server/listener.h"

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
  // As JSON, a line for each message. To be asked for once it has ended.
  const std::vector<std::string>& captured() {
    if (!messages_.empty()) return messages_;
    const std::string output = directory_ + "/dissected";
    BoundProgram program(AAA_DISSECT_PROGRAM, {"--json", capture_}, "", output);
    EXPECT_EQ(program.exit_status(std::chrono::seconds(60)), 0) << program.remaining_errors();
    return messages_ = split_lines(contents_of(output));
  }
  std::size_t captured(std::uint32_t type) {
    const std::string word = "\"type\":", wanted = word + std::to_string(type) + ",";
    return static_cast<std::size_t>(std::ranges::count_if(captured(), [&](const auto& line) {
      const std::size_t first = line.find(word);
      return first != std::string::npos && line.compare(first, wanted.size(), wanted) == 0;
    }));
  }
  std::string printed() const { return contents_of(printed_); }

 private:
  const std::string directory_;
  const std::string capture_ = directory_ + "/tapped", printed_ = directory_ + "/printed";
  std::optional<BoundProgram> program_;
  std::vector<std::string> messages_;
};

// A tap between this process's clients, which send literal bytes, and a simulated aaad.
class TapTest : public testing::Test {
 protected:
  TapTest() {
    sim_.add_user({.name = "alice", .password = "wonderland"});
    ::mkdir(directory_.c_str(), 0755);
    sim_.start();
  }

  void start_tap(std::vector<std::string> options = {}) {
    tap_.emplace(directory_, work_.path() + "/aaad", std::move(options));
  }
  RawClient register_client(const std::string& model = "netd") {
    return RawClient(tap_->socket(), model);
  }
  // A message of 200 KB.
  static std::string large_message(char filling) {
    return test::message_bytes(10, std::string(200000, filling));
  }
  static aaa_sim::FileDescriptor accept_from(aaa_sim::Listener& daemon) {
    aaa_sim::FileDescriptor accepted;
    EXPECT_TRUE(test::eventually([&] {
      accepted = daemon.accept();
      return accepted.is_open();
    })) << "nobody connects";
    return accepted;
  }
  void let_aaad_read(bool reading) {
    sim_.change([reading](aaa_sim::Settings& settings) { settings.reading = reading; });
  }

  const test::TemporaryDirectory work_;
  const std::string directory_ = work_.path() + "/tap";
  aaa_sim::AaadSim sim_{work_.path() + "/aaad"};
  std::optional<Tap> tap_;
};

}  // namespace dissect_test
