// What registered clients are answered.
#include "sim_fixture.h"

namespace aaa_sim_test {
namespace {

using AnswersTest = ClientTest;

TEST_F(AnswersTest, SessionIdsComeInBlocksThatFollowEachOther) {
  sim_.change([](Settings& settings) {
    settings.next_session_id = 100;
    settings.session_ids = 3;
  });
  const Bytes question = hex("01010101 00000000 03000000 08000000  00000000 00000000");
  client_.request.send(question);
  EXPECT_EQ(client_.request.receive(24),
            hex("01010101 00000000 03000000 08000000  64000000 03000000"));
  client_.request.send(question);
  EXPECT_EQ(client_.request.receive(24),
            hex("01010101 00000000 03000000 08000000  67000000 03000000"));
}

TEST_F(AnswersTest, SessionIdsAreUniqueOverAllClients) {
  const Bytes question = hex("01010101 00000000 03000000 08000000  00000000 00000000");
  RawClient other = register_client("logd");
  client_.request.send(question);
  EXPECT_EQ(word_at(client_.request.receive(24), 16), 1u);
  other.request.send(question);
  EXPECT_EQ(word_at(other.request.receive(24), 16), 101u);
}

TEST_F(AnswersTest, NoSessionIdIsGrantedWhenTheFirstIsZero) {
  sim_.change([](Settings& settings) { settings.next_session_id = 0; });
  for (int i = 0; i < 2; ++i) {
    client_.request.send(hex("01010101 00000000 03000000 08000000  00000000 00000000"));
    EXPECT_EQ(word_at(client_.request.receive(24), 16), 0u);
  }
}

TEST_F(AnswersTest, HeartbeatIsAnsweredOnTheEventSocket) {
  client_.request.send(hex("01010101 00000000 84000000 00000000"));
  EXPECT_EQ(client_.event.receive(16), hex("01010101 00000000 84000000 00000000"));
}

TEST_F(AnswersTest, HeartbeatAnswersCanBeSwitchedOff) {
  sim_.change([](Settings& settings) { settings.answer_heartbeats = false; });
  client_.request.send(hex("01010101 00000000 84000000 00000000"));
  EXPECT_TRUE(sim_.wait_for_message(received(132)));
  EXPECT_TRUE(client_.event.stays_silent(std::chrono::milliseconds(50)));
}

TEST_F(AnswersTest, HeartbeatsComeUnaskedAtAnInterval) {
  sim_.change(
      [](Settings& settings) { settings.heartbeat_interval = std::chrono::milliseconds(10); });
  const Bytes heartbeat = hex("01010101 00000000 84000000 00000000");
  EXPECT_EQ(client_.event.receive(32), Bytes(heartbeat) + heartbeat);
}

TEST_F(AnswersTest, DeregistrationIsAnsweredOnTheRequestSocket) {
  client_.request.send(hex("01010101 00000000 02000000 04000000") + text("netd"));
  EXPECT_EQ(client_.request.receive(16), hex("01010101 00000000 65000000 00000000"));
}

TEST_F(AnswersTest, DeregistrationCanBeAnsweredWithAnotherType) {
  sim_.set_fault(Role::request, 2, Fault::wrong_type);
  client_.request.send(hex("01010101 00000000 02000000 04000000") + text("netd"));
  EXPECT_EQ(client_.request.receive(16), hex("01010101 00000000 67000000 00000000"));
}

TEST_F(AnswersTest, AuthorizationAndAccountingAreAccepted) {
  for (const std::uint8_t type : {std::uint8_t{6}, std::uint8_t{7}}) {
    Bytes request = hex("01010101 2a000000 00000000 00000000");
    request[8] = type;
    client_.request.send(request);
    const Bytes result = client_.event.receive_message();
    ASSERT_EQ(result.size(), 16u + 1360u);
    EXPECT_EQ(word_at(result, 4), 42u);
    EXPECT_EQ(word_at(result, 8), 103u);
    EXPECT_EQ(word_at(result, 20), 0u) << "result code";
    EXPECT_EQ(word_at(result, 20 + 572), 42u) << "session id";
  }
}

TEST_F(AnswersTest, UnknownMessageIsRecordedAndNotAnswered) {
  client_.request.send(hex("01010101 05000000 1d000000 04000000  aabbccdd"));
  const auto message = sim_.wait_for_message(received(29));
  ASSERT_TRUE(message);
  EXPECT_EQ(message->bytes, hex("01010101 05000000 1d000000 04000000  aabbccdd"));
  EXPECT_EQ(message->header.id, 5u);
  EXPECT_EQ(message->role, Role::request);
  EXPECT_EQ(message->client.model, "netd");
  EXPECT_TRUE(client_.request.stays_silent(std::chrono::milliseconds(20)));
}

TEST_F(AnswersTest, OwnAnswerTakesThePlaceOfTheBuiltInOne) {
  sim_.set_answer(9, [](const aaa_sim::Request& request) -> aaa_sim::Replies {
    return {{Role::request, 104, request.header.id, {0x01, 0x02}}};
  });
  client_.request.send(hex("01010101 08000000 09000000 00000000"));
  EXPECT_EQ(client_.request.receive(18), hex("01010101 08000000 68000000 02000000  0102"));
}

TEST_F(AnswersTest, MessagesInABatchAreAnsweredLikeDirectOnes) {
  const Bytes heartbeat = hex("01010101 00000000 84000000 00000000");
  const Bytes ids = hex("01010101 00000000 03000000 08000000  00000000 00000000");
  client_.request.send(hex("01010101 00000000 19000000 28000000") + heartbeat + ids);
  EXPECT_EQ(client_.event.receive(16), heartbeat);
  EXPECT_EQ(client_.request.receive(24),
            hex("01010101 00000000 03000000 08000000  01000000 64000000"));
  EXPECT_EQ(sim_.count(received(25)), 1u);
  EXPECT_TRUE(sim_.wait_for_message(received(132))->in_batch);
}

TEST_F(AnswersTest, StatusAndOtherMessagesCanBeSentAtAnyTime) {
  sim_.change([](Settings& settings) { settings.status.acct_period = 600; });
  EXPECT_EQ(sim_.send_status(), 1u);
  const Bytes status = client_.event.receive(56);
  EXPECT_EQ(word_at(status, 8), 102u);
  EXPECT_EQ(word_at(status, 16 + 4), 600u);
  EXPECT_EQ(sim_.send_message({}, Role::request, 200, 9, hex("ab")), 1u);
  EXPECT_EQ(client_.request.receive(17), hex("01010101 09000000 c8000000 01000000  ab"));
}

}  // namespace
}  // namespace aaa_sim_test
