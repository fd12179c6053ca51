// Files of users.
#include "backend/users_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "support/temporary_directory.h"

namespace aaa_sim_test {
namespace {

using aaa_sim::User;
using aaa_sim::Verdict;

class UsersFileTest : public testing::Test {
 protected:
  std::vector<User> load(const std::string& content) {
    std::ofstream(path_) << content;
    return aaa_sim::load_users(path_);
  }

  // What is wrong with the content, as "line: message".
  std::string complaint(const std::string& content) {
    try {
      load(content);
    } catch (const std::runtime_error& error) {
      const std::string what = error.what();
      EXPECT_THAT(what, testing::StartsWith(path_ + ":"));
      return what.substr(path_.size() + 1);
    }
    return "";
  }

  test::TemporaryDirectory directory_;
  const std::string path_ = directory_.path() + "/users.toml";
};

TEST_F(UsersFileTest, EveryFieldIsRead) {
  const auto users = load(
      "[[user]]\nname = \"alice\"\npassword = \"secret\"\n"
      "[[user]]\nname = \"bob\"\npassword = \"\"\nresult = \"challenge\"\n"
      "reply_message = \"r\"\nstate = \"s\"\neap_message = \"e\"\nclass = \"c\"\n"
      "session_timeout = 60\n");
  ASSERT_EQ(users.size(), 2u);
  EXPECT_EQ(users[0].name, "alice");
  EXPECT_EQ(users[0].password, "secret");
  EXPECT_EQ(users[0].verdict, Verdict::accept);
  EXPECT_EQ(users[1].verdict, Verdict::challenge);
  EXPECT_EQ(users[1].reply_message, "r");
  EXPECT_EQ(users[1].state, "s");
  EXPECT_EQ(users[1].eap_message, "e");
  EXPECT_EQ(users[1].class_attribute, "c");
  EXPECT_EQ(users[1].session_timeout, 60u);
}

TEST_F(UsersFileTest, EmptyFileHasNoUsers) {
  EXPECT_TRUE(load("").empty());
}

TEST_F(UsersFileTest, MissingFileIsNamed) {
  try {
    aaa_sim::load_users(path_);
    FAIL() << "no exception";
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(error.what(), path_ + ": No such file or directory");
  }
}

TEST_F(UsersFileTest, MistakesAreNamedWithTheirLine) {
  EXPECT_EQ(complaint("\n[[user]]\nname = \"a\"\npasword = \"x\"\n"), "4: unknown key pasword");
  EXPECT_EQ(complaint("[[user]]\nname = 5\n"), "2: name is not a string");
  EXPECT_EQ(complaint("\n[[user]]\nname = \"a\"\n"), "2: a has no password");
  EXPECT_EQ(complaint("[[user]]\npassword = \"x\"\n"), "1: a user without a name");
  EXPECT_EQ(complaint("[[user]]\nname = \"a\"\npassword = \"x\"\nresult = \"maybe\"\n"),
            "4: result is not accept, reject or challenge");
  EXPECT_EQ(complaint("[[user]]\nname = \"a\"\npassword = \"x\"\nresult = \"challenge\"\n"),
            "1: a is challenged but has no state");
  EXPECT_EQ(complaint("[[user]]\nname = \"a\"\npassword = \"x\"\nsession_timeout = -1\n"),
            "4: session_timeout is not a number of seconds");
  EXPECT_EQ(complaint("[[user]]\nname = \"a\"\npassword = \"x\"\n"
                      "[[user]]\nname = \"a\"\npassword = \"y\"\n"),
            "4: a second user a");
  EXPECT_EQ(complaint("users = 3\n"), "1: unknown key users, only [[user]] tables are known");
  EXPECT_EQ(complaint("[[user]]\nname = \"" + std::string(65, 'n') + "\"\n"),
            "2: name is longer than 64 bytes");
}

TEST_F(UsersFileTest, SyntaxErrorIsOneLineWithItsPlace) {
  const std::string what = complaint("[[user]]\nname = \"a\n");
  EXPECT_THAT(what, testing::StartsWith("2: "));
  EXPECT_THAT(what, testing::Not(testing::HasSubstr("\n")));
}

}  // namespace
}  // namespace aaa_sim_test
