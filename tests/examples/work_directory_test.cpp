// What the sample clients say when they cannot work below TMPDIR.
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "examples_fixture.h"

namespace examples_test {
namespace {

using testing::HasSubstr;

class WorkDirectoryTest : public testing::TestWithParam<const char*> {
 protected:
  std::string program() const { return std::string(AAA_EXAMPLES_DIR) + GetParam(); }

  void SetUp() override {
    if (!std::filesystem::exists(program())) GTEST_SKIP() << "no event loop to build it with";
  }

  // All of them take two operands; 4 is a terminate cause as well as a password.
  void expect_error(const std::string& tmpdir, const std::string& error) {
    expect_error_of(run_program(program(), {"alice", "4"}, tmpdir), error);
  }

  // Restricted as setpriv(1) is told, which only root may use.
  void expect_error_without_rights(std::vector<std::string> restrictions, const std::string& tmpdir,
                                   const std::string& error) {
    restrictions.insert(restrictions.end(), {program(), "alice", "4"});
    expect_error_of(run_program("/usr/bin/setpriv", restrictions, tmpdir), error);
  }

  void expect_error_of(const Outcome& outcome, const std::string& error) {
    EXPECT_EQ(outcome.exit_status, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, std::string(GetParam()) + ": " + error + "\n");
  }

  test::TemporaryDirectory directory_;
};

INSTANTIATE_TEST_SUITE_P(Examples, WorkDirectoryTest,
                         testing::Values("login", "accounting", "local_users", "agent"),
                         [](const auto& client) { return std::string(client.param); });

TEST_P(WorkDirectoryTest, UnsetTmpdirIsNamed) {
  expect_error("", "cannot register: TMPDIR is not set");
}

TEST_P(WorkDirectoryTest, FormThatIsNotTakenIsNamed) {
  expect_error("a/b", "cannot register: TMPDIR 'a/b' must begin with / or ./");
  expect_error("../a", "cannot register: TMPDIR '../a' must begin with / or ./");
}

TEST_P(WorkDirectoryTest, NameThatIsTooLongIsToldWithTheLimit) {
  expect_error(directory_.path_of_size(76), "TMPDIR has 76 bytes, socket names leave room for 69");
  expect_error(directory_.path_of_size(300),
               "TMPDIR has 300 bytes, socket names leave room for 69");
}

TEST_P(WorkDirectoryTest, FileInPlaceOfTheDirectoryIsNamed) {
  const std::string file = directory_.path() + "/file";
  std::ofstream(file) << "text";
  expect_error(file, "cannot register: " + file + "/security/aaa/: Not a directory");
}

TEST_P(WorkDirectoryTest, DirectoryThatCannotBeWrittenIsNamed) {
  ::chmod(directory_.path().c_str(), 0555);
  const std::string tmpdir = directory_.path() + "/missing";
  const std::string error = "cannot register: " + directory_.path() + ": Permission denied";
  if (::geteuid() == 0) {
    expect_error_without_rights({"--bounding-set=-dac_override"}, tmpdir, error);
  } else {
    expect_error(tmpdir, error);
  }
  ::chmod(directory_.path().c_str(), 0755);
}

// The clients that change the modes of the directory.
class WorkDirectoryOwnerTest : public WorkDirectoryTest {};

INSTANTIATE_TEST_SUITE_P(Examples, WorkDirectoryOwnerTest,
                         testing::Values("login", "accounting", "local_users"),
                         [](const auto& client) { return std::string(client.param); });

TEST_P(WorkDirectoryOwnerTest, DirectoryOfAnotherUserIsNamed) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root becomes another user";
  const std::string path = directory_.path() + "/security/aaa";
  std::filesystem::create_directories(path);
  ::chmod(directory_.path().c_str(), 0755);
  ::chmod(path.c_str(), 0777);
  // The program need not lie where that user may look.
  expect_error_without_rights({"--reuid=65534", "--clear-groups", "--inh-caps=+dac_read_search",
                               "--ambient-caps=+dac_read_search"},
                              directory_.path(),
                              "cannot register: " + path + "/ belongs to another user");
}

TEST(WorkDirectorySizeTest, ClientRegistersButNeverReachesAaadBelow73Bytes) {
  const test::TemporaryDirectory directory;
  const Outcome login = run_program(AAA_EXAMPLES_DIR "login", {"-w", "1", "alice", "secret"},
                                    directory.path_of_size(73));
  EXPECT_EQ(login.exit_status, 2);
  EXPECT_EQ(login.errors, "login: TMPDIR has 73 bytes, socket names leave room for 69\n");
}

TEST(WorkDirectorySizeTest, LoginSucceedsBelow72Bytes) {
  const test::TemporaryDirectory directory;
  const std::string tmpdir = directory.path_of_size(72);
  aaa_sim::AaadSim sim(tmpdir);
  sim.add_user({.name = "alice", .password = "secret"});
  sim.start();
  const Outcome login = run_program(AAA_EXAMPLES_DIR "login", {"alice", "secret"}, tmpdir);
  EXPECT_EQ(login.exit_status, 0) << login.errors;
}

}  // namespace
}  // namespace examples_test
