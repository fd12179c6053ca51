// aaa-probe with --repeat.
#include <chrono>

#include "probe_fixture.h"

namespace probe_test {
namespace {

class ProbeLoad : public ProbeTest {
 protected:
  ProbeLoad() {
    sim_.add_user({.name = "alice", .password = "secret"});
    sim_.add_user({.name = "bob",
                   .password = "code",
                   .verdict = aaa_sim::Verdict::challenge,
                   .state = "step-2"});
  }

  Outcome repeat(std::vector<std::string> arguments, const std::string& password = "secret") {
    arguments.insert(arguments.begin(), "login");
    arguments.push_back("--password-stdin");
    return run(std::move(arguments), password + "\n");
  }

  // Of the summary in JSON.
  static double number(const Outcome& outcome, const std::string& name) {
    const std::string key = "\"" + name + "\":";
    const std::size_t found = outcome.output.find(key);
    EXPECT_NE(found, std::string::npos) << outcome.output;
    return found == std::string::npos ? 0 : std::stod(outcome.output.substr(found + key.size()));
  }
};

TEST_F(ProbeLoad, TheSummaryCountsAndTimes) {
  const Outcome outcome = repeat({"alice", "--repeat", "200", "--parallel", "10"});
  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_EQ(outcome.errors, "");
  const std::string time = "[0-9]+(\\.[0-9]+)?(e-[0-9]+)?\n";
  EXPECT_THAT(outcome.output,
              testing::MatchesRegex("requests: 200\naccepted: 200\nrejected: 0\nchallenges: 0\n"
                                    "timed_out: 0\nlost: 0\nseconds: " +
                                    time + "per_second: " + time + "median_ms: " + time +
                                    "p99_ms: " + time + "max_ms: " + time));
  EXPECT_EQ(sim_.count(received(5)), 200u);
}

TEST_F(ProbeLoad, ParallelRequestsAreAtTheSameTime) {
  sim_.change([](aaa_sim::Settings& settings) { settings.delay = std::chrono::milliseconds(100); });
  const Outcome outcome = repeat({"alice", "--repeat", "80", "--parallel", "80", "--json"});
  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_LT(number(outcome, "seconds"), 8) << "one after the other";
  EXPECT_GE(number(outcome, "median_ms"), 100);
  EXPECT_LE(number(outcome, "median_ms"), number(outcome, "max_ms"));
  EXPECT_LE(number(outcome, "max_ms"), number(outcome, "seconds") * 1000);
}

TEST_F(ProbeLoad, TheRateIsALimit) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(repeat({"alice", "--repeat", "11", "--parallel", "4", "--rate", "20"}).exit_status, 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
}

TEST_F(ProbeLoad, TheStatusIsThatOfTheWorst) {
  Outcome outcome = repeat({"alice", "--repeat", "3", "--json"}, "guess");
  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_THAT(outcome.output, testing::StartsWith(R"({"requests":3,"accepted":0,"rejected":3,)"));
  outcome = repeat({"bob", "--repeat", "3", "--json"}, "code");
  EXPECT_EQ(outcome.exit_status, 2);
  EXPECT_THAT(outcome.output, HasSubstr(R"("challenges":3,)"));
  sim_.set_fault(aaa_sim::Role::request, 5, aaa_sim::Fault::silent);
  outcome = repeat({"alice", "--repeat", "3", "--parallel", "3", "--timeout", "2", "--json"});
  EXPECT_EQ(outcome.exit_status, 4);
  EXPECT_THAT(outcome.output, HasSubstr(R"("timed_out":3,)"));
}

TEST_F(ProbeLoad, ALostDaemonEndsIt) {
  sim_.set_fault(aaa_sim::Role::request, 5, aaa_sim::Fault::silent);
  test::ChildProgram program(kBindingProgram,
                             bound_arguments({"login", "alice", "--password-stdin", "--repeat",
                                              "1000", "--parallel", "2", "--json"}),
                             directory_.path());
  program.type("secret");
  ASSERT_TRUE(sim_.wait_for_message(received(5), aaa_sim::AaadSim::kTimeout, 1));
  sim_.stop();
  EXPECT_THAT(program.remaining_output(), HasSubstr(R"("lost":2,)"));
  EXPECT_EQ(program.exit_status(), 3);
}

}  // namespace
}  // namespace probe_test
