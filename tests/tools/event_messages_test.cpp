// The messages that the simulator sends by itself, and the commands that send them.
#include "wire/event_messages.h"

#include "program/commands.h"
#include "sim_fixture.h"

namespace aaa_sim_test {
namespace {

class EventMessagesTest : public ClientTest {
 protected:
  Bytes after(const std::string& command) {
    EXPECT_EQ(aaa_sim::run_command(sim_, command).error, "");
    return client_.event.receive_message();
  }

  Bytes after(const aaa_sim::EventMessage& message) {
    EXPECT_EQ(sim_.send({}, message), 1u);
    return client_.event.receive_message();
  }

  std::string error_of(const std::string& command) {
    return aaa_sim::run_command(sim_, command).error;
  }
};

// A message whose body ends in zeros.
Bytes filled_up(std::uint8_t type, Bytes front, std::size_t size) {
  front.resize(size);
  return framed(type, front);
}

TEST_F(EventMessagesTest, DeleteNoticeHas560BytesAtLeast) {
  EXPECT_EQ(after(aaa_sim::delete_notice(2)), filled_up(105, hex("02000000"), 560));
  EXPECT_EQ(after("delete-notice 2 0a0b"), filled_up(105, hex("02000000 0a0b"), 560));
  EXPECT_EQ(after(aaa_sim::delete_notice(1, Bytes(600))), filled_up(105, hex("01000000"), 604));
}

TEST_F(EventMessagesTest, ChangeOfAuthorizationHas720BytesAtLeast) {
  EXPECT_EQ(after(aaa_sim::coa_request(hex("0a"))), filled_up(126, hex("0a"), 720));
  EXPECT_EQ(after("coa"), filled_up(126, {}, 720));
  EXPECT_EQ(after("coa 0102"), filled_up(126, hex("0102"), 720));
}

TEST_F(EventMessagesTest, GroupQuestionHasItsWordAt392) {
  EXPECT_EQ(after(aaa_sim::group_validity_question(7)), framed(112, Bytes(392) + hex("07000000")));
  EXPECT_EQ(after("group-valid 7 0a"), framed(112, hex("0a") + Bytes(391) + hex("07000000")));
  EXPECT_EQ(after(aaa_sim::group_validity_question(7, Bytes(500))).size(), 16u + 396u);
}

TEST_F(EventMessagesTest, OnlineQuestionHasAnyBodyOrNone) {
  EXPECT_EQ(after(aaa_sim::online_info_question()), framed(113));
  EXPECT_EQ(after("online-info 0a0b"), framed(113, hex("0a0b")));
}

TEST_F(EventMessagesTest, WordsAreSentInOrder) {
  EXPECT_EQ(after("delete-request 1 2 3"), framed(123, hex("01000000 02000000 03000000")));
  EXPECT_EQ(after("radext-result 1 2 3"),
            framed(125, hex("01000000 02000000 03000000") + Bytes(12)));
  EXPECT_EQ(after("radext-result 1 2 3 4 5 6"),
            framed(125, hex("01000000 02000000 03000000 04000000 05000000 06000000")));
}

TEST_F(EventMessagesTest, PasswordUpdateHasLengthsAheadOfItsTexts) {
  EXPECT_EQ(after("update-password 5 alice old secret"),
            framed(128, hex("05000000 00000000 05000000") + text("alice") + hex("03000000") +
                            text("old") + hex("06000000") + text("secret")));
}

// The session id at 28 of the authentication block, the name at 148.
TEST_F(EventMessagesTest, AuthenticationRecordsCarrySessionAndName) {
  for (const std::string command : {"enable-authen 42 alice", "local-eap 42 alice"}) {
    const Bytes message = after(command);
    EXPECT_EQ(word_at(message, 4), 42u);
    EXPECT_EQ(word_at(message, 8), command[0] == 'e' ? 121u : 127u);
    EXPECT_EQ(word_at(message, 16), 0x04a00001u) << "item 1 of 1184 bytes";
  }
}

TEST_F(EventMessagesTest, GroupRequestsHaveTheNameAheadOfTheRecord) {
  struct Group {
    std::string command;
    std::uint32_t type;
    std::uint32_t block;
  };
  for (const Group& group :
       {Group{"authen-group", 109, 1184}, {"author-group", 110, 156}, {"acct-group", 111, 772}}) {
    const Bytes message = after(group.command + " rad 42 alice");
    EXPECT_EQ(word_at(message, 4), 42u);
    EXPECT_EQ(word_at(message, 8), group.type);
    EXPECT_EQ(word_at(message, 16), word_at(hex("03") + text("rad"), 0));
    EXPECT_EQ(word_at(message, 20), 1 | group.block << 16);
    const std::string body(message.begin(), message.end());
    EXPECT_NE(body.find("alice"), std::string::npos) << group.command;
  }
}

TEST_F(EventMessagesTest, LongGroupNameIsCutAt255Bytes) {
  author_info record{};
  const Bytes message = after(aaa_sim::author_group_request(std::string(300, 'g'), record));
  EXPECT_EQ(message[16], 255);
  EXPECT_EQ(message[16 + 255], 'g');
  EXPECT_EQ(word_at(message, 16 + 256), 0x009c0001u);
}

TEST_F(EventMessagesTest, LdapCommandsTakeDashesForWhatIsEmpty) {
  sim_.change([](Settings& settings) { settings.directory = {{"cn=a"}, {"cn=b"}}; });
  EXPECT_EQ(after("ldap-search ldap1 42 - (n=v) n").size(), 16u + 6u + 52u + 5u + 5u);
  const Bytes result = after("ldap-result 42 cn=b -");
  EXPECT_EQ(word_at(result, 8), 141u);
  EXPECT_EQ(word_at(result, 16 + 16), 1u) << "entries";
}

TEST_F(EventMessagesTest, TypesCanBeNamed) {
  EXPECT_EQ(after("send get-online-info 0"), framed(113));
  EXPECT_EQ(after("send ldap-search-request 0"), framed(140)) << "the one that aaad sends";
  EXPECT_EQ(error_of("send Unknown-msg 0"), "send: 'Unknown-msg' is not a message type");
}

TEST_F(EventMessagesTest, BadWordsAreExplained) {
  EXPECT_EQ(error_of("delete-notice"), "usage: delete-notice KIND [HEX]");
  EXPECT_EQ(error_of("delete-request 1 2 x"), "delete-request: 'x' is not a number");
  EXPECT_EQ(error_of("radext-result 1 2 3 4 5 6 7"), "usage: radext-result W0 [W1 ... W5]");
  const std::string name(65, 'n');
  EXPECT_EQ(error_of("local-eap 1 " + name), "local-eap: '" + name + "' is too long");
  EXPECT_EQ(error_of("ldap-search g 1 -"),
            "usage: ldap-search GROUP SESSION BASE|- FILTER|- [ATTRIBUTE...]");
}

}  // namespace
}  // namespace aaa_sim_test
