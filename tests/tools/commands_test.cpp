// Commands to a running simulator.
#include "program/commands.h"

#include "tools/sim_fixture.h"

namespace aaa_sim_test {
namespace {

class CommandsTest : public ClientTest {
 protected:
  std::string error_of(const std::string& line) { return aaa_sim::run_command(sim_, line).error; }

  // The message on the event connection.
  Bytes sent_by(const std::string& line) {
    EXPECT_EQ(error_of(line), "");
    return client_.event.receive_message();
  }
};

Bytes padded(Bytes front, std::size_t size) {
  front.resize(size);
  return front;
}

TEST_F(CommandsTest, MessagesAndBytesAreSentAsGiven) {
  EXPECT_EQ(sent_by("send 105 0x2a 0A0b"), framed(105, hex("0a0b"), 0x2a));
  EXPECT_EQ(error_of("reply 104 0"), "");
  EXPECT_EQ(client_.request.receive(16), framed(104));
  EXPECT_EQ(error_of("raw event 0102"), "");
  EXPECT_EQ(client_.event.receive(2), hex("0102"));
}

TEST_F(CommandsTest, TypesMayBeNamed) {
  EXPECT_EQ(sent_by("send get-online-info 0"), framed(113));
  EXPECT_EQ(sent_by("send ldap-search-request 0"), framed(140)) << "the one that aaad sends";
  EXPECT_EQ(error_of("send Unknown-msg 0"), "send: 'Unknown-msg' is not a message type");
}

TEST_F(CommandsTest, UnsolicitedMessagesHaveTheirBodies) {
  EXPECT_EQ(sent_by("mlist"), framed(122));
  EXPECT_EQ(sent_by("heartbeat"), framed(132));
  EXPECT_EQ(sent_by("debug on 50"), framed(106, hex("01000000 32000000")));
  EXPECT_EQ(sent_by("debug off"), framed(106, hex("00000000 00000000")));
  EXPECT_EQ(sent_by("delete-notice 2 0a0b"), framed(105, padded(hex("02000000 0a0b"), 560)));
  EXPECT_EQ(sent_by("delete-request 1 2 3"), framed(123, hex("01000000 02000000 03000000")));
  EXPECT_EQ(sent_by("coa"), framed(126, Bytes(720)));
  EXPECT_EQ(sent_by("coa 0102"), framed(126, padded(hex("0102"), 720)));
  EXPECT_EQ(sent_by("group-valid 7 0a"), framed(112, padded(hex("0a"), 392) + hex("07000000")));
  EXPECT_EQ(sent_by("online-info"), framed(113));
  EXPECT_EQ(sent_by("online-info 0a0b"), framed(113, hex("0a0b")));
  EXPECT_EQ(sent_by("radext-result 1 2 3"),
            framed(125, hex("01000000 02000000 03000000") + Bytes(12)));
  EXPECT_EQ(sent_by("update-password 5 alice old secret"),
            framed(128, hex("05000000 00000000 05000000") + text("alice") + hex("03000000") +
                            text("old") + hex("06000000") + text("secret")));
}

// Item 1 is the block of the record: type and length in 16 bits each.
TEST_F(CommandsTest, AuthenticationRecordsHaveSessionAndUser) {
  for (const std::string command : {"enable-authen 42 alice", "local-eap 42 alice"}) {
    const Bytes message = sent_by(command);
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
    const Bytes message = sent_by(group.command + " rad 42 alice");
    EXPECT_EQ(word_at(message, 4), 42u);
    EXPECT_EQ(word_at(message, 8), group.type);
    EXPECT_EQ(word_at(message, 16), word_at(hex("03") + text("rad"), 0));
    EXPECT_EQ(word_at(message, 20), 1 | group.block << 16);
    EXPECT_THAT(std::string(message.begin(), message.end()), HasSubstr("alice")) << group.command;
  }
}

TEST_F(CommandsTest, LongGroupNameIsCutAt255Bytes) {
  const Bytes message = sent_by("author-group " + std::string(300, 'g') + " 42 alice");
  EXPECT_EQ(message[16], 255);
  EXPECT_EQ(word_at(message, 16 + 256), 1u | 156u << 16);
}

TEST_F(CommandsTest, LdapMessagesHaveTheirItems) {
  sim_.change([](Settings& settings) { settings.directory = {{"cn=a"}, {"cn=b"}}; });
  EXPECT_EQ(sent_by("ldap-search ldap1 42 - (n=*) n m"),
            framed(140,
                   hex("05") + text("ldap1") + hex("2a000000") + Bytes(32) +
                       hex("02000000 3201 0000 3301 0500") + text("(n=*)") +
                       hex("2d01 0000 3401 0100") + text("n") + hex("3401 0100") + text("m"),
                   42));
  const Bytes result = sent_by("ldap-result 42 cn=b -");
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
