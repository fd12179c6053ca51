// Directories in files.
#include "backend/ldif_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "support/temporary_directory.h"

namespace aaa_sim_test {
namespace {

using aaa_sim::LdapEntry;
using aaa_sim::LdapPair;
using testing::ElementsAre;

class LdifFileTest : public testing::Test {
 protected:
  std::vector<LdapEntry> load(const std::string& content) {
    std::ofstream(path_) << content;
    return aaa_sim::load_ldif(path_);
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
  const std::string path_ = directory_.path() + "/entries.ldif";
};

TEST_F(LdifFileTest, EntriesAreSeparatedByEmptyLines) {
  EXPECT_THAT(load("version: 1\n\ndn: cn=a\ncn: a\nmail:a@b\n\n\ndn: cn=b\n"),
              ElementsAre(LdapEntry{"cn=a", {{"cn", "a"}, {"mail", "a@b"}}}, LdapEntry{"cn=b"}));
}

TEST_F(LdifFileTest, LinesAreContinuedAfterABlankAndCommentsLeftOut) {
  EXPECT_THAT(load("# all\ndn: cn=a,\n  dc=b\n# one\n of many\ncn: a\r\n"),
              ElementsAre(LdapEntry{"cn=a, dc=b", {{"cn", "a"}}}));
}

TEST_F(LdifFileTest, ValuesInBase64AreDecoded) {
  EXPECT_THAT(load("dn: cn=a\na:: YQ==\nb:: YmI=\nc:: Y2Nj\nd:: 4pyT/w==\ne::\n")[0].pairs,
              ElementsAre(LdapPair{"a", "a"}, LdapPair{"b", "bb"}, LdapPair{"c", "ccc"},
                          LdapPair{"d", "\xe2\x9c\x93\xff"}, LdapPair{"e", ""}));
}

TEST_F(LdifFileTest, EmptyFileHasNoEntries) {
  EXPECT_TRUE(load("").empty());
}

TEST_F(LdifFileTest, MissingFileIsNamed) {
  try {
    aaa_sim::load_ldif(path_);
    FAIL() << "no exception";
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(error.what(), path_ + ": No such file or directory");
  }
}

TEST_F(LdifFileTest, MistakesAreNamedWithTheirLine) {
  EXPECT_EQ(complaint("dn: cn=a\n\ncn: a\n"), "3: an entry that does not begin with 'dn:'");
  EXPECT_EQ(complaint("dn: cn=a\ncn\n"), "2: not 'name: value'");
  EXPECT_EQ(complaint("dn: cn=a\n: a\n"), "2: not 'name: value'");
  EXPECT_EQ(complaint("dn: cn=a\ncn:: YQ=\n"), "2: not base64");
  EXPECT_EQ(complaint("dn: cn=a\ncn:: Y?==\n"), "2: not base64");
  EXPECT_EQ(complaint(" a\n"), "1: nothing to continue");
  // 4 + 4 of the name, 8 + 1 of the pair.
  EXPECT_EQ(complaint("\ndn: cn=a\nn: " + std::string(65535 - 16, 'v') + "\n"),
            "2: an entry of more than 65535 bytes");
  EXPECT_EQ(complaint("dn: cn=a\nn: " + std::string(65535 - 17, 'v') + "\n"), "");
}

}  // namespace
}  // namespace aaa_sim_test
