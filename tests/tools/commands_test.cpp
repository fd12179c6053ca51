// Commands typed at a running simulator.
#include "program/commands.h"

#include "sim_fixture.h"

namespace aaa_sim_test {
namespace {

class CommandsTest : public ClientTest {
 protected:
  std::string error_of(const std::string& line) { return aaa_sim::run_command(sim_, line).error; }
};

TEST_F(CommandsTest, SendGoesToTheEventSocket) {
  EXPECT_EQ(error_of("send 105 0x2a 0A0b"), "");
  EXPECT_EQ(client_.event.receive(18), hex("01010101 2a000000 69000000 02000000 0a0b"));
}

TEST_F(CommandsTest, ReplyGoesToTheRequestSocket) {
  EXPECT_EQ(error_of("reply 104 0"), "");
  EXPECT_EQ(client_.request.receive(16), hex("01010101 00000000 68000000 00000000"));
}

TEST_F(CommandsTest, RawBytesGoOutAsTheyAre) {
  EXPECT_EQ(error_of("raw event 0102"), "");
  EXPECT_EQ(client_.event.receive(2), hex("0102"));
}

TEST_F(CommandsTest, DebugSendsSwitchAndLimit) {
  EXPECT_EQ(error_of("debug on 50"), "");
  EXPECT_EQ(client_.event.receive(24),
            hex("01010101 00000000 6a000000 08000000  01000000 32000000"));
  EXPECT_EQ(error_of("debug off"), "");
  EXPECT_EQ(client_.event.receive(24),
            hex("01010101 00000000 6a000000 08000000  00000000 00000000"));
}

TEST_F(CommandsTest, StatusWordIsKeptAndSent) {
  EXPECT_EQ(error_of("status acct_period 600"), "");
  EXPECT_EQ(word_at(client_.event.receive(56), 16 + 4), 600u);
  EXPECT_EQ(error_of("status 9 20"), "");
  EXPECT_EQ(word_at(client_.event.receive(56), 16 + 36), 20u);
  EXPECT_EQ(sim_.settings().status.acct_period, 600u);
}

TEST_F(CommandsTest, MethodListChangeAndHeartbeatHaveNoBody) {
  EXPECT_EQ(error_of("mlist"), "");
  EXPECT_EQ(client_.event.receive(16), hex("01010101 00000000 7a000000 00000000"));
  EXPECT_EQ(error_of("heartbeat"), "");
  EXPECT_EQ(client_.event.receive(16), hex("01010101 00000000 84000000 00000000"));
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
  EXPECT_EQ(settings.delay, std::chrono::milliseconds(20));
  EXPECT_TRUE(settings.byte_wise);
  EXPECT_FALSE(settings.reading);
  EXPECT_FALSE(settings.listening);
}

TEST_F(CommandsTest, CloseClosesAndClientsLists) {
  EXPECT_EQ(aaa_sim::run_command(sim_, "clients").output,
            "netd/" + std::to_string(::getpid()) + "\n");
  EXPECT_EQ(error_of("close"), "");
  EXPECT_TRUE(client_.event.is_closed_by_peer());
  EXPECT_EQ(aaa_sim::run_command(sim_, "clients").output, "");
}

TEST_F(CommandsTest, MethodListIsAddedOrReplaced) {
  EXPECT_EQ(error_of("method-list 1 default 3"), "");
  EXPECT_EQ(error_of("method-list 2 default 4"), "");
  EXPECT_EQ(error_of("method-list 1 default 5"), "");
  const std::vector<aaa_sim::MethodList> expected{{2, "default", 4}, {1, "default", 5}};
  EXPECT_EQ(sim_.settings().method_lists, expected);
}

TEST_F(CommandsTest, LocalUserIsAddedOrReplaced) {
  EXPECT_EQ(error_of("local-user carol rosebud"), "");
  EXPECT_EQ(error_of("local-user carol xanadu"), "");
  EXPECT_EQ(sim_.local_user("carol"), (aaa_sim::LocalUser{.name = "carol", .string_19 = "xanadu"}));
  const std::string name(65, 'n');
  EXPECT_EQ(error_of("local-user " + name + " x"),
            "local-user: '" + name + "' is not a name of a local user with a password");
}

TEST_F(CommandsTest, RememberedListsWhatClientsTold) {
  tell(17, {});
  EXPECT_EQ(aaa_sim::run_command(sim_, "remembered").output, "radius group changes 1\n");
}

TEST_F(CommandsTest, EveryCommandIsInTheHelp) {
  EXPECT_EQ(aaa_sim::run_command(sim_, "help").output, aaa_sim::command_help());
  EXPECT_NE(aaa_sim::command_help().find("send TYPE ID [HEX]"), std::string::npos);
  EXPECT_NE(aaa_sim::command_help().find("update-password CODE S1 S2 S3"), std::string::npos);
}

TEST_F(CommandsTest, QuitQuitsAndEmptyLinesDoNothing) {
  EXPECT_TRUE(aaa_sim::run_command(sim_, " quit ").quit);
  EXPECT_FALSE(aaa_sim::run_command(sim_, "").quit);
  EXPECT_EQ(error_of("   "), "");
}

TEST_F(CommandsTest, BadCommandsAreExplained) {
  EXPECT_EQ(error_of("sned 1 2"), "unknown command 'sned', try help");
  EXPECT_EQ(error_of("send 1"), "usage: send TYPE ID [HEX]");
  EXPECT_EQ(error_of("send x 2"), "send: 'x' is not a message type");
  EXPECT_EQ(error_of("send 4294967296 2"), "send: '4294967296' is not a message type");
  EXPECT_EQ(error_of("send 1 2 0"), "send: '0' is not hexadecimal bytes");
  EXPECT_EQ(error_of("send 1 2 0g"), "send: '0g' is not hexadecimal bytes");
  EXPECT_EQ(error_of("debug maybe"), "debug: 'maybe' is not on or off");
  EXPECT_EQ(error_of("status colour 2"), "status: 'colour' is not a status word");
  EXPECT_EQ(error_of("status 10 2"), "status: '10' is not a status word");
  EXPECT_EQ(error_of("fault event 0 odd"), "fault: 'odd' is not a fault");
  EXPECT_EQ(error_of("raw side 00"), "raw: 'side' is not request or event");
  EXPECT_EQ(error_of("quit now"), "usage: quit");
}

TEST_F(CommandsTest, SendingWithoutAClientIsAnError) {
  sim_.close_connections();
  EXPECT_EQ(error_of("mlist"), "no client is registered");
}

}  // namespace
}  // namespace aaa_sim_test
