// Requests answered from the settings: method lists, statistics, passwords, LDAP searches.
#include "backend/directory.h"
#include "tools/sim_fixture.h"

namespace aaa_sim_test {
namespace {

using aaa_sim::LdapEntry;
using aaa_sim::LdapSearch;
using testing::IsEmpty;

class QueriesTest : public ClientTest {
 protected:
  // The word in the answer, which has this type.
  std::uint32_t answer_of(std::uint32_t type, const std::string& body, std::uint32_t answer_type) {
    const std::string answer = ask(type, body);
    EXPECT_EQ(answer.size(), 20u);
    EXPECT_EQ(word_at(answer, 8), answer_type);
    return word_at(answer, 16);
  }
};

TEST_F(QueriesTest, MethodListsAreFoundByKindAndName) {
  sim_.change([](Settings& settings) {
    settings.method_lists = {{1, "default", 3}, {2, "default", 5}, {2, "vpn", 6}};
  });
  EXPECT_EQ(answer_of(9, zeros(12) + "vpn" + hex("00"), 104), 1u);
  EXPECT_EQ(answer_of(9, zeros(12) + "vp" + hex("00"), 104), 0u);
  EXPECT_EQ(answer_of(18, hex("02000000") + "vpn" + hex("00"), 114), 6u);
  EXPECT_EQ(answer_of(18, hex("01000000") + "default" + hex("00"), 114), 3u);
  EXPECT_EQ(answer_of(18, hex("01000000") + "vpn" + hex("00"), 114), 0u);
  EXPECT_EQ(answer_of(18, hex("02000000"), 114), 5u) << "the first of the kind";
  EXPECT_EQ(answer_of(18, hex("03000000"), 114), 0u);
}

TEST_F(QueriesTest, ServerStatisticIsFoundByTheLastWord) {
  sim_.change([](Settings& settings) { settings.server_statistics = {{4, 77}}; });
  EXPECT_EQ(answer_of(12, zeros(392) + hex("04000000"), 107), 77u);
  EXPECT_EQ(answer_of(12, zeros(392) + hex("05000000"), 107), 0u);
}

TEST_F(QueriesTest, PasswordIsReplacedIfTheOldOneIsRight) {
  sim_.add_user({.name = "alice", .password = "old"});
  const auto update = [&](const char* name, const char* from, const char* to) {
    std::string body = hex("05000000 06000000");
    for (const std::string value : {name, from, to})
      body += word_bytes(static_cast<std::uint32_t>(value.size())) + value;
    return ask(26, body);
  };
  EXPECT_EQ(word_at(update("bob", "old", "new"), 20), 1u);
  EXPECT_EQ(word_at(update("alice", "odd", "new"), 20), 2u);
  EXPECT_EQ(word_at(update("alice", "old", ""), 20), 3u);
  EXPECT_EQ(sim_.settings().users.at(0).password, "old");
  EXPECT_EQ(update("alice", "old", "new"), message_bytes(129, hex("05000000 00000000")));
  EXPECT_EQ(sim_.settings().users.at(0).password, "new");
}

// 306 "ldap1", 307 the filter, 301 "", and one attribute, 308 "n".
std::string search_body(const std::string& filter) {
  return word_bytes(42) + zeros(32) + word_bytes(1) + item_bytes(306, "ldap1") +
         item_bytes(307, filter) + item_bytes(301, "") + item_bytes(308, "n");
}

TEST_F(QueriesTest, LdapSearchIsAnsweredWithTheEntries) {
  sim_.change([](Settings& settings) {
    settings.directory = {{"cn=a", {{"n", "v"}, {"m", "w"}}}};
  });
  client_.request.send(message_with_id(42, 32, search_body("(n=v)")));
  const std::string entry = hex("3601 1200") + word_bytes(1) + item_bytes(311, "cn=a") +
                            item_bytes(312, "n") + item_bytes(313, "v");
  EXPECT_EQ(client_.event.receive_message(),
            message_with_id(42, 141,
                            word_bytes({42, 0, 0, 0, 1, 0}) + item_bytes(309, "") +
                                item_bytes(306, "ldap1") + entry));
}

TEST_F(QueriesTest, LdapSearchWithABadFilterIsAnsweredWithAnError) {
  client_.request.send(message_with_id(42, 32, search_body("(n")));
  EXPECT_EQ(client_.event.receive_message(),
            message_with_id(42, 141,
                            word_bytes({42, 1, 0, 0, 0, 0}) + item_bytes(309, "Unreadable filter") +
                                item_bytes(306, "ldap1")));
}

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

TEST(DirectoryTest, BaseMatchesItselfAndEntriesBelow) {
  EXPECT_THAT(found({}), ElementsAre("dc=exa", "cn=ann", "cn=bob"));
  EXPECT_THAT(found({.base = "dc=example"}), ElementsAre("dc=exa", "cn=ann", "cn=bob"));
  EXPECT_THAT(found({.base = "OU=IT,dc=example"}), ElementsAre("cn=ann"));
  EXPECT_THAT(found({.base = "c=example"}), IsEmpty()) << "half a name is no parent";
}

TEST(DirectoryTest, FilterMatchesAnyValueOfTheAttribute) {
  EXPECT_THAT(found({.filter = "(mail=a@it)"}), ElementsAre("cn=ann"));
  EXPECT_THAT(found({.filter = "CN=BOB"}), ElementsAre("cn=bob"));
  EXPECT_THAT(found({.filter = "(cn=bo)"}), IsEmpty());
  EXPECT_THAT(found({.filter = "(cn=bob*)"}), ElementsAre("cn=bob"));
  EXPECT_THAT(found({.filter = "(mail=*)"}), ElementsAre("cn=ann", "cn=bob"));
  EXPECT_THAT(found({.filter = "(phone=*)"}), IsEmpty());
}

TEST(DirectoryTest, OtherFiltersAreRefused) {
  for (const char* filter : {"cn", "=ann", "(&(cn=a)(cn=b))", "(cn=a*b)", "(cn>=a)", "(!(cn=a))"})
    EXPECT_FALSE(aaa_sim::is_filter(filter)) << filter;
}

}  // namespace
}  // namespace aaa_sim_test
