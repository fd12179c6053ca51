// Local users: whole records, and where they are kept.
#include <gmock/gmock.h>

#include <fstream>

#include "sim_fixture.h"

namespace aaa_sim_test {
namespace {

using aaa_sim::LocalUser;
using testing::StartsWith;

// Every field of the user "carol", as items.
Bytes carol_items() {
  return hex("01000000 0d000000") + text("carol") + hex("02000000 0c000000 02000000") +
         hex("05000000 0c000000 05000000 0a000000 0c000000 0a000000") +
         hex("0c000000 0c000000 0c000000 14000000 0c000000 14000000") +
         hex("0d000000 0c000000 0d000000 07000000 0c000000 01000000") +
         hex("09000000 0c000000 01000000 13000000 0b000000") + text("now") +
         hex("06000000 0d000000") + text("first") + hex("06000000 0e000000") + text("second");
}

LocalUser carol() {
  return {.name = "carol",
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
}

Bytes body_of(const Bytes& message) {
  return {message.begin() + 16, message.end()};
}

using LocalUsersTest = ClientTest;

TEST_F(LocalUsersTest, FetchAnswersWithTheItemsOfTheUser) {
  sim_.put_local_user(carol());
  const Bytes answer = ask(119, text("carol"));
  EXPECT_EQ(word_at(answer, 8), 119u);
  EXPECT_EQ(body_of(answer), carol_items());
}

TEST_F(LocalUsersTest, FetchOfAnUnknownUserIsAnsweredWithoutABody) {
  EXPECT_EQ(ask(119, text("carol")), hex("01010101 00000000 77000000 00000000"));
}

TEST_F(LocalUsersTest, UpdateReplacesEveryFieldAndPassword) {
  sim_.put_local_user({.name = "carol",
                       .string_18 = "gone",
                       .flag_4 = true,
                       .passwords = {"a", "b", "c"},
                       .flag_8 = true});
  EXPECT_EQ(ask(120, carol_items()), hex("01010101 00000000 78000000 01000000 01"));
  EXPECT_EQ(sim_.local_user("carol"), carol());
  EXPECT_EQ(body_of(ask(119, text("carol"))), carol_items());
}

TEST_F(LocalUsersTest, UpdateOfAnUnknownUserIsRefused) {
  EXPECT_EQ(ask(120, carol_items()), hex("01010101 00000000 78000000 01000000 00"));
  EXPECT_EQ(sim_.local_user("carol"), std::nullopt);
}

TEST_F(LocalUsersTest, UnknownItemsOfAnUpdateArePassedOver) {
  sim_.put_local_user(carol());
  EXPECT_EQ(ask(120, hex("63000000 0a000000 ffff") + carol_items()).back(), 1);
  EXPECT_EQ(sim_.local_user("carol"), carol());
}

TEST_F(LocalUsersTest, BrokenItemsChangeNothing) {
  sim_.put_local_user(carol());
  for (const Bytes& broken :
       {hex("06000000 07000000"), hex("06000000 00000000"), hex("06000000 0a000000 ff"),
        hex("02000000 0a000000 0000"), hex("060000"), hex("06000000 ffffffff")}) {
    sim_.clear_messages();
    client_.request.send(framed(120, carol_items() + broken));
    EXPECT_TRUE(sim_.wait_for_note("message 120: "));
  }
  EXPECT_EQ(sim_.local_user("carol"), carol());
}

TEST_F(LocalUsersTest, UsersOfTheSettingsAreAddedAtTheStartUnlessTheyAreThere) {
  sim_.put_local_user(carol());
  sim_.stop();
  sim_.change([](Settings& settings) {
    settings.local_users = {{.name = "carol", .string_19 = "other"}, {.name = "dave"}};
  });
  sim_.start();
  EXPECT_EQ(sim_.local_user("carol"), carol());
  EXPECT_EQ(sim_.local_user("dave"), LocalUser{.name = "dave"});
}

class LocalUsersFileTest : public testing::Test {
 protected:
  Settings settings() const {
    Settings settings;
    settings.local_users_file = file_;
    return settings;
  }

  // What a client is answered by a simulator that starts with the file and stops again.
  Bytes ask_anew(std::uint8_t type, const Bytes& body) {
    aaa_sim::AaadSim sim(directory_.path(), settings());
    sim.start();
    RawClient client(sim.socket_path());
    client.request.send(framed(type, body));
    return client.request.receive_message();
  }

  test::TemporaryDirectory directory_;
  const std::string file_ = directory_.path() + "/local.db";
};

TEST_F(LocalUsersFileTest, WrittenBackRecordOutlivesTheSimulator) {
  aaa_sim::AaadSim(directory_.path(), settings()).put_local_user({.name = "carol"});
  EXPECT_EQ(ask_anew(120, carol_items()).back(), 1);
  EXPECT_EQ(body_of(ask_anew(119, text("carol"))), carol_items());
}

TEST_F(LocalUsersFileTest, TextsKeepEveryByte) {
  const LocalUser odd{.name = "o'dd", .string_19 = std::string("a\0\xff'", 4)};
  aaa_sim::AaadSim sim(directory_.path(), settings());
  sim.put_local_user(odd);
  EXPECT_EQ(sim.local_user("o'dd"), odd);
}

TEST_F(LocalUsersFileTest, FileThatIsNoDatabaseIsNamedAtTheStart) {
  std::ofstream(file_) << "not a database, but long enough to be taken for one by its size";
  aaa_sim::AaadSim sim(directory_.path(), settings());
  try {
    sim.start();
    FAIL() << "no exception";
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), StartsWith(file_ + ": "));
  }
}

TEST_F(LocalUsersFileTest, DatabaseErrorIsRemarkedAndNotAnswered) {
  aaa_sim::AaadSim sim(directory_.path(), settings());
  sim.start();
  RawClient client(sim.socket_path());
  std::ofstream(file_) << "not a database, but long enough to be taken for one by its size";
  client.request.send(framed(119, text("carol")));
  EXPECT_TRUE(sim.wait_for_note("message 119: " + file_ + ": "));
}

}  // namespace
}  // namespace aaa_sim_test
