// A host that loads the shared library late, unloads it, and does so again and again.
#include <string>

#include "soak/child_process.h"
#include "soak/soak_test.h"

namespace soak {
namespace {

using Loading = SoakTest;

TEST_F(Loading, WithARegistrationInEachRoundLeavesNothingBehind) {
  const int rounds = by_length(50, 1000);
  ChildProcess loader({LIBRARY_LOADER_PROGRAM, SHARED_LIBRARY, std::to_string(rounds)},
                      directory() + "/loader.out");
  EXPECT_EQ(0, loader.wait_for_end(by_length(std::chrono::seconds(60), std::chrono::seconds(600))));
  EXPECT_TRUE(sim_.wait_for_connections(0));
  EXPECT_EQ(2u * static_cast<std::size_t>(rounds), sim_.accepted_connections());
}

}  // namespace
}  // namespace soak
