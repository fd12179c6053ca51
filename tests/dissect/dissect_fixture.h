// aaa-dissect and aaad-sim run as their users run them.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/bytes.h"
#include "support/child_program.h"
#include "support/temporary_directory.h"
#include "tools/raw_client.h"

namespace dissect_test {

using aaa_sim_test::RawClient;
using aaa_sim_test::RawConnection;
using test::hex;
using test::word_at;
using test::word_bytes;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// A program that ends with the thread that starts it, whatever becomes of that.
class BoundProgram : public test::ChildProgram {
 public:
  BoundProgram(const char* program, std::vector<std::string> arguments,
               const std::string& tmpdir = "", const std::string& output_file = "")
      : ChildProgram("/usr/bin/setpriv", bound(program, std::move(arguments)), tmpdir,
                     output_file) {}

 private:
  static std::vector<std::string> bound(const char* program, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--pdeathsig", "KILL", "--", program});
    return arguments;
  }
};

struct Outcome {
  int exit_status;
  std::string output;
  std::string errors;
};

// `input` is all that the program finds on standard input.
inline Outcome dissect(std::vector<std::string> arguments, const std::string& input = "") {
  BoundProgram program(AAA_DISSECT_PROGRAM, std::move(arguments));
  if (!input.empty()) program.type(input, "");
  program.close_input();
  Outcome outcome;
  outcome.output = program.remaining_output();
  outcome.errors = program.remaining_errors();
  outcome.exit_status = program.exit_status();
  return outcome;
}

inline std::string contents_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}
inline void write_file(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}
inline std::size_t lines_of(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}
inline std::vector<std::string> split_lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

// A block with its type and its length around it.
inline std::string block(std::uint32_t type, const std::string& body) {
  const std::string length = word_bytes(static_cast<std::uint32_t>(12 + body.size()));
  return word_bytes(type) + length + body + length;
}
inline const std::string kSection = block(0x0a0d0d0a, hex("4d3c2b1a 0100 0000 ffffffffffffffff"));
// Of nanoseconds.
inline std::string interface(const std::string& link_type = "9300",
                             const std::string& options = "") {
  return block(1, hex(link_type + "0000 00000000 0900 0100 09000000" + options));
}
inline const std::string kHeartbeat = hex("01010101 00000000 84000000 00000000");
// Of the time 3, on interface 0.
inline std::string packet(const std::string& bytes, const std::string& options = "") {
  const auto size = static_cast<std::uint32_t>(bytes.size());
  return block(6, word_bytes({0, 0, 3, size, size}) + bytes +
                      std::string((4 - bytes.size() % 4) % 4, '\0') + hex(options));
}

// A running simulator in a directory of its own.
class SimProgramTest : public testing::Test {
 protected:
  static constexpr const char* kUsers = "[[user]]\nname = \"alice\"\npassword = \"wonderland\"\n";

  SimProgramTest() {
    ::mkdir(daemon_directory_.c_str(), 0755);
    write_file(users_, kUsers);
  }

  void start_sim(std::vector<std::string> options = {}) {
    options.insert(options.end(), {"--directory", daemon_directory_, "--users", users_});
    sim_.emplace(AAAD_SIM_PROGRAM, std::move(options));
    ASSERT_THAT(sim_->output_line(), StartsWith("aaad-sim: listening on "));
  }
  void end_sim() {
    sim_->signal(SIGTERM);
    EXPECT_EQ(sim_->exit_status(), 0);
  }

  static std::string socket_below(const std::string& directory) {
    return directory + "/security/aaa/.aaa_domain_socket_fs";
  }

  const test::TemporaryDirectory directory_;
  const std::string daemon_directory_ = directory_.path() + "/aaad";
  const std::string users_ = directory_.path() + "/users.toml";
  const std::string capture_ = directory_.path() + "/capture";
  std::optional<BoundProgram> sim_;
};

}  // namespace dissect_test
