// Malformed messages of clients: they get a note, and other clients are served.
#include "tools/sim_fixture.h"

namespace aaa_sim_test {
namespace {

class MalformedInputTest : public ClientTest {
 protected:
  void expect_service() {
    RawConnection next = connect();
    next.send(register_request());
    EXPECT_EQ(next.receive(20).size(), 20u);
  }

  void expect_note(std::uint32_t type, const std::string& body, const std::string& error) {
    sim_.clear_messages();
    client_.request.send(message_bytes(type, body));
    EXPECT_TRUE(sim_.wait_for_note("message " + std::to_string(type) + ": " + error));
  }
};

TEST_F(MalformedInputTest, WrongMarkerOrHugeLengthClosesTheConnection) {
  for (const auto& [bytes, note] : {std::pair{"01010102 00000000 84000000 00000000", "bad marker"},
                                    {"01010101 00000000 84000000 ffffffff", "bad body length"}}) {
    RawClient client = register_client();
    client.request.send(hex(bytes));
    EXPECT_TRUE(client.request.is_closed_by_peer()) << note;
    EXPECT_TRUE(sim_.wait_for_note(note));
    EXPECT_EQ(sim_.count(received(132)), 0u);
    expect_service();
  }
}

TEST_F(MalformedInputTest, TruncatedMessageOrHeaderIsDropped) {
  for (const char* bytes : {"01010101 00000000 05000000 10000000 0011", "010101"}) {
    sim_.clear_messages();
    RawClient client = register_client();
    client.request.send(hex(bytes));
    client.request.close();
    EXPECT_TRUE(sim_.wait_for_note("closed inside a message")) << bytes;
    EXPECT_EQ(sim_.count(received(5)), 0u);
    expect_service();
  }
}

TEST_F(MalformedInputTest, MessageInSingleBytesIsAnswered) {
  for (const char byte : message_bytes(132))
    client_.request.send({byte});
  EXPECT_EQ(client_.event.receive(16), message_bytes(132));
}

TEST_F(MalformedInputTest, TruncatedBatchIsAnsweredUpToItsEnd) {
  client_.request.send(message_bytes(25, message_bytes(132) + hex("01010101 00000000")));
  EXPECT_EQ(client_.event.receive(16), message_bytes(132));
  EXPECT_TRUE(client_.request.is_closed_by_peer());
  EXPECT_TRUE(sim_.wait_for_note("broken batch"));
  expect_service();
}

TEST_F(MalformedInputTest, BatchInABatchIsNotUnpacked) {
  client_.request.send(message_bytes(25, message_bytes(25, message_bytes(132))));
  EXPECT_TRUE(sim_.wait_for_message(received(25), sim_.kTimeout, 1));
  EXPECT_EQ(sim_.count(received(132)), 0u);
}

TEST_F(MalformedInputTest, ClientThatDoesNotReadDoesNotBlockOthers) {
  const Bytes large(1u << 20, 0x5a);
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(sim_.send_message({}, Role::event, 200, 0, large), 1u);
  expect_service();
  EXPECT_EQ(client_.event.receive_message().size(), large.size() + 16);
}

// The size of the shortest body that each message needs, less one.
TEST_F(MalformedInputTest, TruncatedBodiesGetANoteAndNoAnswer) {
  struct Truncated {
    std::uint32_t type;
    std::size_t size;
  };
  for (const Truncated& body : {Truncated{4, 1279},
                                {8, 7},
                                {9, 11},
                                {10, 15},
                                {11, 391},
                                {12, 395},
                                {13, 7},
                                {14, 3},
                                {15, 7},
                                {16, 3},
                                {18, 3},
                                {19, 3},
                                {20, 391},
                                {21, 7},
                                {23, 2783},
                                {24, 23},
                                {26, 7},
                                {27, 7},
                                {28, 11},
                                {32, 39},
                                {33, 23},
                                {34, 7},
                                {117, 3},
                                {118, 3}})
    expect_note(body.type, std::string(body.size, '\xff'), "");
  EXPECT_EQ(describe(sim_.reports()), "");
  EXPECT_TRUE(client_.request.stays_silent());
}

TEST_F(MalformedInputTest, LengthsBeyondTheBodyGetANote) {
  expect_note(26, hex("05000000 06000000 ffffffff") + "alice", "body truncated");
  for (const std::uint32_t type : {22u, 117u, 118u})
    expect_note(type, hex("0100 0600") + "carol", "body truncated");
}

TEST_F(MalformedInputTest, CountsBeyondTheBodyGetANote) {
  expect_note(32, hex("2a000000") + zeros(32) + hex("ffffff0f"), "malformed LDAP search");
  expect_note(33, hex("2a000000") + zeros(12) + hex("ffffff0f 00000000"), "malformed LDAP answer");
}

}  // namespace
}  // namespace aaa_sim_test
