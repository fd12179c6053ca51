// Local users: logins, passwords, grants, records, and the database.
#include <fstream>

#include "tools/sim_fixture.h"

namespace aaa_sim_test {
namespace {

using aaa_sim::LocalUser;

// Items numbered from 1.
std::string items(const std::vector<std::string>& values) {
  std::string body;
  std::uint32_t type = 0;
  for (const std::string& value : values)
    body += item_bytes(++type, value);
  return body;
}

class LocalUserRequestsTest : public ClientTest {
 protected:
  LocalUserRequestsTest() {
    sim_.put_local_user(
        {.name = "carol", .string_19 = "rosebud-1", .passwords = {"rosebud-0"}, .value_5 = 6});
  }

  LocalUser carol() { return sim_.local_user("carol").value_or(LocalUser{}); }

  std::uint32_t code_of_login(const std::string& name, const std::string& password) {
    const std::string answer = ask(115, login(name, password), 7);
    EXPECT_EQ(word_at(answer, 4), 7u) << "header id";
    EXPECT_EQ(word_at(answer, 8), 115u) << "type";
    EXPECT_EQ(word_at(answer, 20 + 572), 7u) << "session id";
    return word_at(answer, 20);
  }
};

TEST_F(LocalUserRequestsTest, LoginNeedsThePasswordInString19Or18) {
  EXPECT_EQ(code_of_login("carol", "rosebud-1"), 0u);
  EXPECT_EQ(code_of_login("carol", "rosebud-0"), 1u);
  EXPECT_EQ(code_of_login("carol", ""), 1u);
  EXPECT_EQ(code_of_login("dave", "rosebud-1"), 1u);
  sim_.put_local_user({.name = "dave", .string_18 = "short"});
  EXPECT_EQ(code_of_login("dave", "short"), 0u);
  sim_.put_local_user({.name = "dave", .string_18 = "short", .string_19 = "long"});
  EXPECT_EQ(code_of_login("dave", "short"), 1u);
  EXPECT_EQ(code_of_login("dave", "long"), 0u);
  sim_.put_local_user({.name = "dave", .flag_4 = true});
  EXPECT_EQ(code_of_login("dave", "anything"), 0u);
}

TEST_F(LocalUserRequestsTest, AuthorizationNeedsAUserInItem301) {
  const std::string block = item_bytes(1, zeros(156));
  const std::string accepted = ask(116, block + item_bytes(301, "carol") + item_bytes(2, ""));
  EXPECT_EQ(word_at(accepted, 8), 116u);
  EXPECT_EQ(word_at(accepted, 20), 0u);
  EXPECT_EQ(word_at(ask(116, block + item_bytes(301, "dave")), 20), 1u);
  EXPECT_EQ(word_at(ask(116, block), 20), 1u);
}

TEST_F(LocalUserRequestsTest, TruncatedRecordsAreRejected) {
  EXPECT_EQ(word_at(ask(115, zeros(1183)), 20), 1u);
  EXPECT_EQ(word_at(ask(116, zeros(155)), 20), 1u);
}

TEST_F(LocalUserRequestsTest, PasswordIsChangedAndThePreviousOneKept) {
  const auto change = [&](const char* name, const char* from, const std::string& to) {
    return word_at(ask(117, items({name, from, to})), 16);
  };
  EXPECT_EQ(change("dave", "rosebud-1", "xanadu"), 1u);
  EXPECT_EQ(change("carol", "rosebud-0", "xanadu"), 2u);
  EXPECT_EQ(change("carol", "rosebud-1", ""), 3u);
  EXPECT_EQ(change("carol", "rosebud-1", "rosebud-0"), 3u) << "a previous one";
  EXPECT_EQ(change("carol", "rosebud-1", "rosebud-1"), 3u) << "the current one";
  EXPECT_EQ(change("carol", "rosebud-1", std::string(129, 'x')), 3u);
  EXPECT_EQ(carol().string_19, "rosebud-1");
  EXPECT_EQ(ask(117, items({"carol", "rosebud-1", std::string(128, 'x')})),
            message_bytes(117, zeros(4)));
  EXPECT_EQ(carol().string_19, std::string(128, 'x'));
  EXPECT_THAT(carol().passwords, ElementsAre("rosebud-0", "rosebud-1"));
}

TEST_F(LocalUserRequestsTest, GrantNeedsAllRightsAndAnAbsolutePath) {
  const auto grant = [&](const char* name, const char* path, std::uint32_t rights) {
    return ask(118, items({name, path, word_bytes(rights)}));
  };
  EXPECT_EQ(grant("carol", "/srv", 4), message_bytes(118, zeros(1)));
  EXPECT_EQ(grant("carol", "/srv", 6).back(), 0);
  EXPECT_EQ(grant("carol", "/srv", 7).back(), 13);
  EXPECT_EQ(grant("carol", "srv", 4).back(), 22);
  EXPECT_EQ(grant("dave", "/srv", 4).back(), 2);
}

TEST_F(LocalUserRequestsTest, PasswordIsChecked) {
  const auto check = [&](const char* name, const char* password) {
    const std::string answer = ask(22, items({name, password}));
    EXPECT_EQ(word_at(answer, 8), 124u);
    return word_at(answer, 16);
  };
  EXPECT_EQ(check("carol", "xanadu-12"), 0u);
  EXPECT_EQ(check("carol", "xanadu1"), 1u);
  EXPECT_EQ(check("carol", "12carol34"), 2u);
  EXPECT_EQ(check("caroline-of-oz", "caroline"), 2u);
  EXPECT_EQ(check("carol", "rosebud-0"), 3u);
  EXPECT_EQ(check("dave", "rosebud-0"), 0u);
}

// A user with most fields, and its items: 32-bit type, 32-bit length with these 8 bytes, value.
const LocalUser kCarol = {.name = "carol",
                          .value_2 = 2,
                          .string_19 = "now",
                          .flag_7 = true,
                          .passwords = {"first", "second"},
                          .value_5 = 5,
                          .flag_9 = true,
                          .value_10 = 10,
                          .value_12 = 12,
                          .value_20 = 20,
                          .value_13 = 13};
const std::string kCarolItems =
    hex("01000000 0d000000") + "carol" + hex("02000000 0c000000 02000000") +
    hex("05000000 0c000000 05000000 0a000000 0c000000 0a000000") +
    hex("0c000000 0c000000 0c000000 14000000 0c000000 14000000") +
    hex("0d000000 0c000000 0d000000 07000000 0c000000 01000000") +
    hex("09000000 0c000000 01000000 13000000 0b000000") + "now" + hex("06000000 0d000000") +
    "first" + hex("06000000 0e000000") + "second";

using LocalUsersTest = ClientTest;

TEST_F(LocalUsersTest, UserIsFetchedAsItemsAndReplacedByThem) {
  EXPECT_EQ(ask(119, "carol"), message_bytes(119));
  EXPECT_EQ(ask(120, kCarolItems), message_bytes(120, zeros(1)));
  EXPECT_EQ(sim_.local_user("carol"), std::nullopt) << "no user is added";
  sim_.put_local_user(
      {.name = "carol", .string_18 = "gone", .flag_4 = true, .passwords = {"a"}, .flag_8 = true});
  EXPECT_EQ(ask(120, hex("63000000 0a000000 ffff") + kCarolItems), message_bytes(120, "\1"))
      << "item 99 is skipped";
  EXPECT_EQ(sim_.local_user("carol"), kCarol);
  EXPECT_EQ(ask(119, "carol"), message_bytes(119, kCarolItems));
}

TEST_F(LocalUsersTest, MalformedItemsChangeNothing) {
  sim_.put_local_user(kCarol);
  for (const std::string& malformed :
       {hex("06000000 07000000"), hex("06000000 00000000"), hex("06000000 0a000000 ff"),
        hex("02000000 0a000000 0000"), hex("060000"), hex("06000000 ffffffff")}) {
    sim_.clear_messages();
    client_.request.send(message_bytes(120, kCarolItems + malformed));
    EXPECT_TRUE(sim_.wait_for_note("message 120: "));
  }
  EXPECT_EQ(sim_.local_user("carol"), kCarol);
}

TEST_F(LocalUsersTest, UsersOfTheSettingsAreAddedAtTheStartUnlessTheyExist) {
  sim_.put_local_user(kCarol);
  sim_.stop();
  sim_.change([](Settings& settings) {
    settings.local_users = {{.name = "carol", .string_19 = "other"}, {.name = "dave"}};
  });
  sim_.start();
  EXPECT_EQ(sim_.local_user("carol"), kCarol);
  EXPECT_EQ(sim_.local_user("dave"), LocalUser{.name = "dave"});
}

class LocalUsersFileTest : public testing::Test {
 protected:
  void make_unreadable() {
    std::ofstream(file_) << "not a database, but long enough to be taken for one by its size";
  }

  test::TemporaryDirectory directory_;
  const std::string file_ = directory_.path() + "/local.db";
  aaa_sim::AaadSim sim_{directory_.path(), [this] {
                          Settings settings;
                          settings.local_users_file = file_;
                          return settings;
                        }()};
};

TEST_F(LocalUsersFileTest, TextsKeepEveryByte) {
  const LocalUser odd{.name = "o'dd", .string_19 = std::string("a\0\xff'", 4)};
  sim_.put_local_user(odd);
  EXPECT_EQ(sim_.local_user("o'dd"), odd);
}

TEST_F(LocalUsersFileTest, FileThatIsNoDatabaseIsNamedAtTheStart) {
  make_unreadable();
  try {
    sim_.start();
    FAIL() << "no exception";
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), StartsWith(file_ + ": "));
  }
}

TEST_F(LocalUsersFileTest, DatabaseErrorGetsANoteAndNoAnswer) {
  sim_.start();
  RawClient client(sim_.socket_path());
  make_unreadable();
  client.request.send(message_bytes(119, "carol"));
  EXPECT_TRUE(sim_.wait_for_note("message 119: " + file_ + ": "));
  EXPECT_TRUE(client.request.stays_silent());
}

}  // namespace
}  // namespace aaa_sim_test
