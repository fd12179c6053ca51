// A sample client run as its users run it, beside a running simulator.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "aaad_sim.h"
#include "support/child_program.h"
#include "support/temporary_directory.h"

namespace examples_test {

struct Outcome {
  int exit_status;
  std::string output;
  std::string errors;
};

// Runs a program to its end; without TMPDIR when `tmpdir` is empty.
inline Outcome run_program(const std::string& path, std::vector<std::string> arguments,
                           const std::string& tmpdir) {
  test::ChildProgram program(path, std::move(arguments), tmpdir);
  Outcome outcome;
  outcome.output = program.remaining_output();
  outcome.errors = program.remaining_errors();
  outcome.exit_status = program.exit_status();
  return outcome;
}

class ExamplesTest : public testing::Test {
 protected:
  ExamplesTest() { sim_.start(); }

  Outcome run(const std::string& name, std::vector<std::string> arguments) {
    return run_program(AAA_EXAMPLES_DIR + name, std::move(arguments), directory_.path());
  }

  static void expect(const Outcome& outcome, int exit_status, const std::string& output,
                     const std::string& errors = "") {
    EXPECT_EQ(outcome.exit_status, exit_status);
    EXPECT_EQ(outcome.output, output);
    EXPECT_EQ(outcome.errors, errors);
  }

  test::TemporaryDirectory directory_;
  aaa_sim::AaadSim sim_{directory_.path()};
};

}  // namespace examples_test
