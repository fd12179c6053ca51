// LDAP searches in both directions.
#include "backend/directory.h"

#include <gmock/gmock.h>

#include "sim_fixture.h"

namespace aaa_sim_test {
namespace {

using aaa_sim::LdapEntry;
using aaa_sim::LdapSearch;
using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<LdapEntry> kDirectory = {
    {"dc=example", {}},
    {"cn=ann,ou=it,dc=example", {{"cn", "ann"}, {"mail", "ann@it"}, {"mail", "a@it"}}},
    {"cn=bob,ou=hr,dc=example", {{"cn", "bob"}, {"mail", "bob@hr"}}},
};

std::vector<std::string> found(const LdapSearch& wanted) {
  std::vector<std::string> names;
  for (const LdapEntry& entry : search(kDirectory, wanted))
    names.push_back(entry.dn.substr(0, 6));
  return names;
}

TEST(DirectoryTest, EmptySearchFindsEverything) {
  EXPECT_THAT(found({}), ElementsAre("dc=exa", "cn=ann", "cn=bob"));
}

TEST(DirectoryTest, BaseFindsItselfAndWhatLiesBelow) {
  EXPECT_THAT(found({.base = "OU=IT,dc=example"}), ElementsAre("cn=ann"));
  EXPECT_THAT(found({.base = "dc=example"}), ElementsAre("dc=exa", "cn=ann", "cn=bob"));
  EXPECT_THAT(found({.base = "c=example"}), IsEmpty()) << "half a name is no parent";
}

TEST(DirectoryTest, FilterComparesAnyValueOfTheAttribute) {
  EXPECT_THAT(found({.filter = "(mail=a@it)"}), ElementsAre("cn=ann"));
  EXPECT_THAT(found({.filter = "CN=BOB"}), ElementsAre("cn=bob"));
  EXPECT_THAT(found({.filter = "(cn=bo)"}), IsEmpty());
  EXPECT_THAT(found({.filter = "(cn=bob*)"}), ElementsAre("cn=bob"));
  EXPECT_THAT(found({.filter = "(mail=ann*)"}), ElementsAre("cn=ann"));
  EXPECT_THAT(found({.filter = "(mail=*)"}), ElementsAre("cn=ann", "cn=bob"));
  EXPECT_THAT(found({.filter = "(phone=*)"}), IsEmpty());
}

TEST(DirectoryTest, OnlyWantedAttributesAreTold) {
  const auto entries = search(kDirectory, {.filter = "cn=ann", .attributes = {"MAIL", "phone"}});
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_THAT(entries[0].pairs,
              ElementsAre(aaa_sim::LdapPair{"mail", "ann@it"}, aaa_sim::LdapPair{"mail", "a@it"}));
}

TEST(DirectoryTest, OtherFiltersAreNone) {
  for (const char* filter : {"cn", "=ann", "(&(cn=a)(cn=b))", "(cn=a*b)", "(cn>=a)", "(!(cn=a))"})
    EXPECT_FALSE(aaa_sim::is_filter(filter)) << filter;
}

class LdapTest : public ClientTest {
 protected:
  LdapTest() {
    sim_.change([](Settings& settings) { settings.directory = {{"cn=a", {{"n", "v"}}}}; });
  }
};

TEST_F(LdapTest, SearchIsAnsweredOnTheEventSocketWithTheEntries) {
  // 306 "ldap1", 307 "(n=v)", 301 "", and one attribute, 308 "n".
  const Bytes search = hex("2a000000") + Bytes(32) + hex("01000000  3201 0500") + text("ldap1") +
                       hex("3301 0500") + text("(n=v)") + hex("2d01 0000  3401 0100") + text("n");
  client_.request.send(framed(32, search, 42));
  EXPECT_EQ(client_.event.receive_message(),
            hex("01010101 2a000000 8d000000 3f000000") +
                hex("2a000000 00000000 00000000 00000000 01000000 00000000") +
                hex("3501 0000  3201 0500") + text("ldap1") + hex("3601 1200 01000000") +
                hex("3701 0400") + text("cn=a") + hex("3801 0100") + text("n") + hex("3901 0100") +
                text("v"));
}

TEST_F(LdapTest, UnreadableFilterIsAnsweredWithAnError) {
  const Bytes search =
      hex("2a000000") + Bytes(36) + hex("3201 0000 3301 0200") + text("(n") + hex("2d01 0000");
  client_.request.send(framed(32, search, 42));
  EXPECT_EQ(client_.event.receive_message(),
            hex("01010101 2a000000 8d000000 31000000") +
                hex("2a000000 01000000 00000000 00000000 00000000 00000000") + hex("3501 1100") +
                text("Unreadable filter") + hex("3201 0000"));
}

TEST_F(LdapTest, CountOfAttributesBeyondTheBodyIsRemarked) {
  client_.request.send(framed(32, hex("2a000000") + Bytes(32) + hex("ffffff0f")));
  EXPECT_TRUE(sim_.wait_for_note("message 32: unreadable LDAP search"));
}

TEST_F(LdapTest, CountOfEntriesBeyondTheBodyIsRemarked) {
  client_.request.send(framed(33, hex("2a000000") + Bytes(12) + hex("ffffff0f 00000000")));
  EXPECT_TRUE(sim_.wait_for_note("message 33: unreadable LDAP answer"));
}

TEST_F(LdapTest, QuestionHasTheGroupAheadOfTheSearch) {
  const LdapSearch search{
      .session_id = 42, .base = "cn=a", .filter = "(n=*)", .attributes = {"n", "m"}};
  EXPECT_EQ(sim_.send({}, aaa_sim::ldap_question("ldap1", search)), 1u);
  EXPECT_EQ(client_.event.receive_message(),
            hex("01010101 2a000000 8c000000 4d000000 05") + text("ldap1") + hex("2a000000") +
                Bytes(32) + hex("02000000 3201 0000 3301 0500") + text("(n=*)") + hex("2d01 0400") +
                text("cn=a") + hex("3401 0100") + text("n") + hex("3401 0100") + text("m"));
}

TEST_F(LdapTest, ClientsAnswerIsKept) {
  tell(33,
       hex("2a000000 01000000 00000000 00000000 01000000 00000000") + hex("3501 0000 3201 0000") +
           hex("3601 1200 01000000 3701 0400") + text("cn=b") + hex("3801 0100") + text("n") +
           hex("3901 0100") + text("w"),
       42);
  const aaa_sim::LdapAnswer expected{
      .session_id = 42, .code = 1, .entries = {{"cn=b", {{"n", "w"}}}}};
  EXPECT_EQ(sim_.memory().ldap_answers, std::vector{expected});
}

}  // namespace
}  // namespace aaa_sim_test
