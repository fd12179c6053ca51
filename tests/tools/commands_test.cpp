// Commands to a running simulator.
#include "program/commands.h"

#include "tools/sim_fixture.h"

namespace aaa_sim_test {
namespace {

class CommandsTest : public ClientTest {
 protected:
  std::string error_of(const std::string& line) { return aaa_sim::run_command(sim_, line).error; }

  // The message on the event connection.
  std::string sent_by(const std::string& line) {
    EXPECT_EQ(error_of(line), "");
    return client_.event.receive_message();
  }
};

std::string padded(std::string front, std::size_t size) {
  front.resize(size);
  return front;
}

TEST_F(CommandsTest, MessagesAndBytesAreSentAsGiven) {
  EXPECT_EQ(sent_by("send 105 0x2a 0A0b"), message_with_id(0x2a, 105, hex("0a0b")));
  EXPECT_EQ(error_of("reply 104 0"), "");
  EXPECT_EQ(client_.request.receive(16), message_bytes(104));
  EXPECT_EQ(error_of("raw event 0102"), "");
  EXPECT_EQ(client_.event.receive(2), hex("0102"));
}

TEST_F(CommandsTest, TypesMayBeNamed) {
  EXPECT_EQ(sent_by("send get-online-info 0"), message_bytes(113));
  EXPECT_EQ(sent_by("send ldap-search-request 0"), message_bytes(140)) << "the one that aaad sends";
  EXPECT_EQ(error_of("send Unknown-msg 0"), "send: 'Unknown-msg' is not a message type");
}

TEST_F(CommandsTest, UnsolicitedMessagesHaveTheirBodies) {
  struct Unsolicited {
    const char* command;
    std::uint32_t type;
    std::string body;
  };
  for (const auto& [command, type, body] : {
           Unsolicited{"mlist", 122, ""},
           {"heartbeat", 132, ""},
           {"debug on 50", 106, word_bytes({1, 50})},
           {"debug off", 106, zeros(8)},
           {"delete-notice 2 0a0b", 105, padded(hex("02000000 0a0b"), 560)},
           {"delete-request 1 2 3", 123, word_bytes({1, 2, 3})},
           {"coa", 126, zeros(720)},
           {"coa 0102", 126, padded(hex("0102"), 720)},
           {"group-valid 7 0a", 112, padded(hex("0a"), 392) + word_bytes(7)},
           {"online-info", 113, ""},
           {"online-info 0a0b", 113, hex("0a0b")},
           {"radext-result 1 2 3", 125, word_bytes({1, 2, 3, 0, 0, 0})},
           {"update-password 5 alice old secret", 128,
            word_bytes({5, 0, 5}) + "alice" + word_bytes(3) + "old" + word_bytes(6) + "secret"},
       })
    EXPECT_EQ(sent_by(command), message_bytes(type, body)) << command;
}

// Item 1 is the block of the record: type and length in 16 bits each.
TEST_F(CommandsTest, AuthenticationRecordsHaveSessionAndUser) {
  for (const std::string command : {"enable-authen 42 alice", "local-eap 42 alice"}) {
    const std::string message = sent_by(command);
    EXPECT_EQ(word_at(message, 4), 42u);
    EXPECT_EQ(word_at(message, 8), command[0] == 'e' ? 121u : 127u);
    EXPECT_EQ(word_at(message, 16), 1u | 1184u << 16);
  }
}

TEST_F(CommandsTest, GroupRequestsHaveTheGroupBeforeTheRecord) {
  struct Group {
    std::string command;
    std::uint32_t type;
    std::uint32_t block;
  };
  for (const Group& group :
       {Group{"authen-group", 109, 1184}, {"author-group", 110, 156}, {"acct-group", 111, 772}}) {
    const std::string message = sent_by(group.command + " rad 42 alice");
    EXPECT_EQ(word_at(message, 4), 42u);
    EXPECT_EQ(word_at(message, 8), group.type);
    EXPECT_EQ(word_at(message, 16), word_at("\3rad", 0));
    EXPECT_EQ(word_at(message, 20), 1 | group.block << 16);
    EXPECT_THAT(message, HasSubstr("alice")) << group.command;
  }
}

TEST_F(CommandsTest, LongGroupNameIsCutAt255Bytes) {
  const std::string message = sent_by("author-group " + std::string(300, 'g') + " 42 alice");
  EXPECT_EQ(message[16], '\xff');
  EXPECT_EQ(word_at(message, 16 + 256), 1u | 156u << 16);
}

TEST_F(CommandsTest, LdapMessagesHaveTheirItems) {
  sim_.change([](Settings& settings) { settings.directory = {{"cn=a"}, {"cn=b"}}; });
  EXPECT_EQ(sent_by("ldap-search ldap1 42 - (n=*) n m"),
            message_with_id(42, 140,
                            "\5ldap1" + word_bytes(42) + zeros(32) + word_bytes(2) +
                                item_bytes(306, "") + item_bytes(307, "(n=*)") +
                                item_bytes(301, "") + item_bytes(308, "n") + item_bytes(308, "m")));
  const std::string result = sent_by("ldap-result 42 cn=b -");
  EXPECT_EQ(word_at(result, 8), 141u);
  EXPECT_EQ(word_at(result, 16 + 16), 1u) << "entries";
}

TEST_F(CommandsTest, StatusWordIsSetAndSent) {
  EXPECT_EQ(word_at(sent_by("status acct_period 600"), 16 + 4), 600u);
  EXPECT_EQ(word_at(sent_by("status 9 20"), 16 + 36), 20u);
  EXPECT_EQ(sim_.settings().status.acct_period, 600u);
}

TEST_F(CommandsTest, SettingsAreChanged) {
  for (const char* line : {"heartbeats off", "aaa-id 255", "fault event 0 silent", "silent on",
                           "delay 20", "byte-wise on", "reading off", "listening off"}) {
    EXPECT_EQ(error_of(line), "") << line;
  }
  const Settings settings = sim_.settings();
  EXPECT_FALSE(settings.answer_heartbeats);
  EXPECT_EQ(settings.aaa_id, 255u);
  EXPECT_EQ(settings.faults.at({Role::event, 0}), Fault::silent);
  EXPECT_TRUE(settings.silent);
  EXPECT_EQ(settings.delay.count(), 20);
  EXPECT_TRUE(settings.byte_wise);
  EXPECT_FALSE(settings.reading);
  EXPECT_FALSE(settings.listening);
}

TEST_F(CommandsTest, MethodListsAndLocalUsersAreAddedOrReplaced) {
  for (const char* line :
       {"method-list 1 default 3", "method-list 2 default 4", "method-list 1 default 5",
        "local-user carol rosebud", "local-user carol xanadu"})
    EXPECT_EQ(error_of(line), "") << line;
  const std::vector<aaa_sim::MethodList> expected{{2, "default", 4}, {1, "default", 5}};
  EXPECT_EQ(sim_.settings().method_lists, expected);
  EXPECT_EQ(sim_.local_user("carol"), (aaa_sim::LocalUser{.name = "carol", .string_19 = "xanadu"}));
}

TEST_F(CommandsTest, ClientsReportsAndCommandsAreListed) {
  tell(17, {});
  EXPECT_EQ(aaa_sim::run_command(sim_, "reports").output, "radius group changes 1\n");
  EXPECT_EQ(aaa_sim::run_command(sim_, "clients").output,
            "netd/" + std::to_string(::getpid()) + "\n");
  EXPECT_EQ(aaa_sim::run_command(sim_, "help").output, aaa_sim::command_help());
  EXPECT_THAT(aaa_sim::command_help(), HasSubstr("send TYPE ID [HEX]"));
  EXPECT_THAT(aaa_sim::command_help(), HasSubstr("update-password CODE S1 S2 S3"));
}

TEST_F(CommandsTest, QuitEndsAndAnEmptyLineDoesNothing) {
  EXPECT_TRUE(aaa_sim::run_command(sim_, " quit ").quit);
  EXPECT_FALSE(aaa_sim::run_command(sim_, "").quit);
  EXPECT_EQ(error_of("   "), "");
}

TEST_F(CommandsTest, ErrorsAreExplained) {
  const std::string long_name(65, 'n');
  const std::pair<std::string, std::string> errors[] = {
      {"sned 1 2", "unknown command 'sned', try help"},
      {"send 1", "usage: send TYPE ID [HEX]"},
      {"quit now", "usage: quit"},
      {"radext-result 1 2 3 4 5 6 7", "usage: radext-result W0 [W1 ... W5]"},
      {"ldap-search g 1 -", "usage: ldap-search GROUP SESSION BASE|- FILTER|- [ATTRIBUTE...]"},
      {"send x 2", "send: 'x' is not a message type"},
      {"send 4294967296 2", "send: '4294967296' is not a message type"},
      {"send 1 2 0", "send: '0' is not hexadecimal bytes"},
      {"send 1 2 0g", "send: '0g' is not hexadecimal bytes"},
      {"delete-request 1 2 x", "delete-request: 'x' is not a number"},
      {"debug maybe", "debug: 'maybe' is not on or off"},
      {"status colour 2", "status: 'colour' is not a status word"},
      {"status 10 2", "status: '10' is not a status word"},
      {"fault event 0 odd", "fault: 'odd' is not a fault"},
      {"raw side 00", "raw: 'side' is not request or event"},
      {"local-eap 1 " + long_name, "local-eap: '" + long_name + "' is too long"},
      {"local-user " + long_name + " x",
       "local-user: '" + long_name + "' is not a name of a local user with a password"},
  };
  for (const auto& [line, error] : errors)
    EXPECT_EQ(error_of(line), error);
}

TEST_F(CommandsTest, SendingWithoutAClientIsAnError) {
  EXPECT_EQ(error_of("close"), "");
  EXPECT_TRUE(client_.event.is_closed_by_peer());
  EXPECT_EQ(error_of("mlist"), "no client is registered");
}

}  // namespace
}  // namespace aaa_sim_test
