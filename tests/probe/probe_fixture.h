// aaa-probe run as its users run it, beside a running simulator.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "aaad_sim.h"
#include "support/bytes.h"
#include "support/child_program.h"
#include "support/temporary_directory.h"

namespace probe_test {

using aaa_sim::received;
using testing::HasSubstr;

struct Outcome {
  int exit_status;
  std::string output;
  std::string errors;
};

// A command line that ends with the thread that starts it, whatever becomes of that.
inline std::vector<std::string> bound_arguments(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"--pdeathsig", "KILL", "--", AAA_PROBE_PROGRAM});
  return arguments;
}
inline const std::string kBindingProgram = "/usr/bin/setpriv";

class ProbeTest : public testing::Test {
 protected:
  ProbeTest() { sim_.start(); }

  // `input` is all that the program finds on standard input.
  Outcome run(std::vector<std::string> arguments, const std::string& input = "") {
    return run_in(directory_.path(), std::move(arguments), input);
  }

  // Without TMPDIR when `tmpdir` is empty.
  static Outcome run_in(const std::string& tmpdir, std::vector<std::string> arguments,
                        const std::string& input = "") {
    test::ChildProgram program(kBindingProgram, bound_arguments(std::move(arguments)), tmpdir);
    if (!input.empty()) program.type(input, "");
    program.close_input();
    Outcome outcome;
    outcome.output = program.remaining_output();
    outcome.errors = program.remaining_errors();
    outcome.exit_status = program.exit_status();
    return outcome;
  }

  static void expect(const Outcome& outcome, int exit_status, const std::string& output,
                     const std::string& errors = "") {
    EXPECT_EQ(outcome.exit_status, exit_status);
    EXPECT_EQ(outcome.output, output);
    EXPECT_EQ(outcome.errors, errors);
  }

  // The bytes of the first message of a type: a header of 16 bytes and the body.
  std::string message_of(std::uint32_t type) {
    const auto message = sim_.wait_for_message(received(type));
    EXPECT_TRUE(message) << "no message " << type;
    return message ? std::string(aaa_sim::text_of(message->bytes)) : std::string(4096, '\0');
  }

  std::string file_with(const std::string& text) {
    const std::string path = directory_.path() + "/password";
    std::ofstream(path) << text;
    return path;
  }

  static std::string result_body(std::uint32_t num_a, std::uint32_t session_id,
                                 const std::string& items = "") {
    std::string body = test::item_bytes(1, std::string(1280, '\0'));
    body.replace(4, 4, test::word_bytes(num_a));
    body.replace(4 + 572, 4, test::word_bytes(session_id));
    return body + items;
  }

  // A result of the request's session with this code and these items.
  static aaa_sim::Answerer answer_with(std::uint32_t num_a, const std::string& items = "") {
    return [num_a, items](const aaa_sim::Request& request) -> aaa_sim::Replies {
      const std::string body = result_body(num_a, request.header.id, items);
      const auto bytes = aaa_sim::bytes_of(body);
      return {{aaa_sim::Role::event, 103, request.header.id, {bytes.begin(), bytes.end()}}};
    };
  }

  void be_silent() {
    sim_.change([](aaa_sim::Settings& settings) { settings.silent = true; });
  }

  test::TemporaryDirectory directory_;
  aaa_sim::AaadSim sim_{directory_.path()};
};

}  // namespace probe_test
