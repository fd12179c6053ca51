// Files of users and of directory entries.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "backend/ldif_file.h"
#include "backend/users_file.h"
#include "support/temporary_directory.h"

namespace aaa_sim_test {
namespace {

using aaa_sim::LdapEntry;
using aaa_sim::LdapPair;
using aaa_sim::load_ldif;
using aaa_sim::load_users;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class FilesTest : public testing::Test {
 protected:
  // The path of a file with this content.
  const std::string& with(const std::string& content) {
    std::ofstream(path_) << content;
    return path_;
  }

  // The error without the path: "line: error".
  template <typename Load>
  std::string error_of(Load load, const std::string& content) {
    try {
      load(with(content));
    } catch (const std::runtime_error& error) {
      const std::string what = error.what();
      EXPECT_THAT(what, StartsWith(path_ + ":"));
      return what.substr(path_.size() + 1);
    }
    return "";
  }

  test::TemporaryDirectory directory_;
  const std::string path_ = directory_.path() + "/file";
};

TEST_F(FilesTest, EveryFieldOfAUserIsRead) {
  const auto users =
      load_users(with("[[user]]\nname = \"alice\"\npassword = \"secret\"\n"
                      "[[user]]\nname = \"bob\"\npassword = \"\"\nresult = \"challenge\"\n"
                      "reply_message = \"r\"\nstate = \"s\"\neap_message = \"e\"\nclass = \"c\"\n"
                      "session_timeout = 60\n"));
  ASSERT_EQ(users.size(), 2u);
  EXPECT_EQ(users[0].name, "alice");
  EXPECT_EQ(users[0].password, "secret");
  EXPECT_EQ(users[0].verdict, aaa_sim::Verdict::accept);
  EXPECT_EQ(users[1].verdict, aaa_sim::Verdict::challenge);
  EXPECT_EQ(users[1].reply_message, "r");
  EXPECT_EQ(users[1].state, "s");
  EXPECT_EQ(users[1].eap_message, "e");
  EXPECT_EQ(users[1].class_attribute, "c");
  EXPECT_EQ(users[1].session_timeout, 60u);
}

TEST_F(FilesTest, EmptyFilesAreEmptyLists) {
  EXPECT_TRUE(load_users(with("")).empty());
  EXPECT_TRUE(load_ldif(with("")).empty());
}

TEST_F(FilesTest, ErrorsInUsersHaveTheirLine) {
  const std::string user = "[[user]]\nname = \"a\"\npassword = \"x\"\n";
  const std::pair<std::string, const char*> errors[] = {
      {"\n[[user]]\nname = \"a\"\npasword = \"x\"\n", "4: unknown key pasword"},
      {"[[user]]\nname = 5\n", "2: name is not a string"},
      {"\n[[user]]\nname = \"a\"\n", "2: user a has no password"},
      {"[[user]]\npassword = \"x\"\n", "1: user without a name"},
      {user + "result = \"maybe\"\n", "4: result is not accept, reject or challenge"},
      {user + "result = \"challenge\"\n", "1: user a has the result challenge but no state"},
      {user + "session_timeout = -1\n", "4: session_timeout is not a number from 0 to 4294967295"},
      {user + user, "4: duplicate user a"},
      {"users = 3\n", "1: unknown key users, expected [[user]] tables"},
      {"[[user]]\nname = \"" + std::string(65, 'n') + "\"\n", "2: name is longer than 64 bytes"},
  };
  for (const auto& [content, error] : errors)
    EXPECT_EQ(error_of(load_users, content), error);
}

TEST_F(FilesTest, SyntaxErrorInUsersIsOneLine) {
  const std::string error = error_of(load_users, "[[user]]\nname = \"a\n");
  EXPECT_THAT(error, StartsWith("2: "));
  EXPECT_THAT(error, Not(HasSubstr("\n")));
}

TEST_F(FilesTest, LdifEntriesAreSeparatedByEmptyLines) {
  EXPECT_THAT(load_ldif(with("version: 1\n\ndn: cn=a\ncn: a\nmail:a@b\n\n\ndn: cn=b\n")),
              ElementsAre(LdapEntry{"cn=a", {{"cn", "a"}, {"mail", "a@b"}}}, LdapEntry{"cn=b"}));
}

TEST_F(FilesTest, LdifLinesAreJoinedAndCommentsSkipped) {
  EXPECT_THAT(load_ldif(with("# all\ndn: cn=a,\n  dc=b\n# one\n of many\ncn: a\r\n")),
              ElementsAre(LdapEntry{"cn=a, dc=b", {{"cn", "a"}}}));
}

TEST_F(FilesTest, LdifValuesInBase64AreDecoded) {
  EXPECT_THAT(
      load_ldif(with("dn: cn=a\na:: YQ==\nb:: YmI=\nc:: Y2Nj\nd:: 4pyT/w==\ne::\n"))[0].pairs,
      ElementsAre(LdapPair{"a", "a"}, LdapPair{"b", "bb"}, LdapPair{"c", "ccc"},
                  LdapPair{"d", "\xe2\x9c\x93\xff"}, LdapPair{"e", ""}));
}

TEST_F(FilesTest, ErrorsInLdifHaveTheirLine) {
  // An entry's size: 4 + 4 bytes of the DN, 8 + 1 of the pair, and the value.
  const auto entry_of_size = [](std::size_t size) {
    return "\ndn: cn=a\nn: " + std::string(size - 17, 'v') + "\n";
  };
  const std::pair<std::string, const char*> errors[] = {
      {"dn: cn=a\n\ncn: a\n", "3: entry does not start with 'dn:'"},
      {"dn: cn=a\ncn\n", "2: expected 'name: value'"},
      {"dn: cn=a\n: a\n", "2: expected 'name: value'"},
      {"dn: cn=a\ncn:: YQ=\n", "2: invalid base64"},
      {"dn: cn=a\ncn:: Y?==\n", "2: invalid base64"},
      {" a\n", "1: continuation line without a line before it"},
      {entry_of_size(65536), "2: entry longer than 65535 bytes"},
      {entry_of_size(65535), ""},
  };
  for (const auto& [content, error] : errors)
    EXPECT_EQ(error_of(load_ldif, content), error);
}

}  // namespace
}  // namespace aaa_sim_test
