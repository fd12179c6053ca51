// The client in README.md.
#include "examples_fixture.h"

namespace examples_test {
namespace {

using aaa_sim::AaadSim;

class ReadmeTest : public ExamplesTest {
 protected:
  ReadmeTest() { sim_.add_user({.name = "alice", .password = "wonderland"}); }

  test::ChildProgram start() { return {AAA_README_CLIENT, {}, directory_.path()}; }
};

TEST_F(ReadmeTest, ClientTellsTheDecision) {
  test::ChildProgram client = start();
  EXPECT_EQ(client.remaining_output(), "aaad's decision: 0\n");
  EXPECT_EQ(client.exit_status(), 0);
}

TEST_F(ReadmeTest, ClientWaitsForAaad) {
  const auto take_clients_with = [this](std::uint32_t id) {
    sim_.change([=](aaa_sim::Settings& settings) { settings.aaa_id = id; });
  };
  take_clients_with(aaa_sim::kRefused);
  test::ChildProgram client = start();
  // The third attempt comes after 2 seconds.
  ASSERT_TRUE(sim_.wait_for_message(aaa_sim::sent(100), AaadSim::kTimeout, 1))
      << "it does not try again";
  take_clients_with(1);
  EXPECT_EQ(client.remaining_output(), "aaad's decision: 0\n");
  EXPECT_EQ(client.exit_status(), 0);
}

}  // namespace
}  // namespace examples_test
