// What the sample 802.1X authenticator says when it cannot start. How it works is tested with a
// supplicant, in tests/real.
#include "examples_fixture.h"

namespace examples_test {
namespace {

constexpr const char* kUsage =
    "usage: dot1x -i INTERFACE [-d DIRECTORY] [-u UID] [-w SECONDS] [-a SECONDS] [-q SECONDS]\n";

class Dot1xStartTest : public ExamplesTest {
 protected:
  void expect_error(std::vector<std::string> arguments, const std::string& error) {
    expect(run("dot1x", std::move(arguments)), 2, "", error);
  }
};

TEST_F(Dot1xStartTest, ExplainsItself) {
  const Outcome help = run("dot1x", {"--help"});
  EXPECT_EQ(help.exit_status, 0);
  EXPECT_THAT(help.output, testing::StartsWith(kUsage));
}

TEST_F(Dot1xStartTest, NeedsAnInterfaceAndNoOperand) {
  expect_error({}, kUsage);
  expect_error({"-i", "lo", "alice"}, kUsage);
}

TEST_F(Dot1xStartTest, NamesAnInterfaceThatDoesNotExist) {
  expect_error({"-i", "none"}, "dot1x: none: No such device\n");
}

TEST_F(Dot1xStartTest, NamesADirectoryThatCannotBeUsed) {
  expect_error({"-i", "lo", "-d", "a/b"},
               "dot1x: the directory 'a/b' must begin with / and have at most 69 bytes\n");
  const std::string long_path = "/" + std::string(69, 'd');
  expect_error(
      {"-i", "lo", "-d", long_path},
      "dot1x: the directory '" + long_path + "' must begin with / and have at most 69 bytes\n");
}

TEST_F(Dot1xStartTest, ChecksTheUserIdToTheLastCharacter) {
  expect_error({"-i", "lo", "-u", "0x"}, "dot1x: -u: '0x' is not a number from 0 to 4294967294\n");
}

}  // namespace
}  // namespace examples_test
