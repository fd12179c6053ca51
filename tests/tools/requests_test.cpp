// Answers that the client library's tests do not ask for, and their delivery.
#include "tools/sim_fixture.h"

namespace aaa_sim_test {
namespace {

using std::chrono::milliseconds;
using RequestsTest = ClientTest;

const std::string kHeartbeat = message_bytes(132);
const std::string kSessionIds = message_bytes(3, zeros(8));

TEST_F(RequestsTest, HeartbeatsAreSentAtAnInterval) {
  sim_.change([](Settings& settings) { settings.heartbeat_interval = milliseconds(10); });
  EXPECT_EQ(client_.event.receive(32), kHeartbeat + kHeartbeat);
}

TEST_F(RequestsTest, UnknownMessageIsRecordedAndNotAnswered) {
  client_.request.send(message_with_id(5, 29, hex("aabbccdd")));
  const auto message = sim_.wait_for_message(received(29));
  ASSERT_TRUE(message);
  EXPECT_EQ(bytes_of(*message), message_with_id(5, 29, hex("aabbccdd")));
  EXPECT_EQ(message->role, Role::request);
  EXPECT_EQ(message->client.model, "netd");
  EXPECT_TRUE(client_.request.stays_silent());
}

// The result code is at 4 of the result's body, the session id at 576.
TEST_F(RequestsTest, LoginsOfUnknownUsersAndMalformedOnesAreRejected) {
  const std::pair<std::string, const char*> logins[] = {{login("nobody", "secret"), "Unknown user"},
                                                        {"", "Unreadable request"},
                                                        {zeros(1183), "Unreadable request"}};
  for (const auto& [body, message] : logins) {
    client_.request.send(message_with_id(7, 5, body));
    const std::string result = client_.event.receive_message();
    EXPECT_EQ(word_at(result, 4), 7u);
    EXPECT_EQ(word_at(result, 8), 103u);
    EXPECT_EQ(word_at(result, 16 + 4), 1u);
    EXPECT_EQ(word_at(result, 16 + 576), 7u);
    EXPECT_THAT(result, HasSubstr(message));
  }
}

TEST_F(RequestsTest, DelayedAnswersAreSentInOrder) {
  sim_.change([](Settings& settings) { settings.delay = milliseconds(60); });
  const auto start = std::chrono::steady_clock::now();
  client_.request.send(kSessionIds + kSessionIds);
  const std::string answers = client_.request.receive(48);
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(60));
  EXPECT_EQ(word_at(answers, 16), 1u);
  EXPECT_EQ(word_at(answers, 24 + 16), 101u);
}

TEST_F(RequestsTest, DelayedAnswerToAClosedConnectionIsDropped) {
  sim_.change([](Settings& settings) { settings.delay = milliseconds(20); });
  client_.request.send(kSessionIds);
  ASSERT_TRUE(sim_.wait_for_message(received(3)));
  client_.request.close();
  client_.event.close();
  ASSERT_TRUE(sim_.wait_for_connections(0));
  RawClient next = register_client();
  next.request.send(kSessionIds);
  EXPECT_EQ(next.request.receive(24).size(), 24u);
  EXPECT_EQ(sim_.count(sent(3)), 1u);
}

TEST_F(RequestsTest, DelayedAnswerOfAClearedSessionIsDropped) {
  sim_.change([](Settings& settings) { settings.delay = milliseconds(50); });
  client_.request.send(message_with_id(42, 6) + message_with_id(43, 6) +
                       message_bytes(19, hex("0000002a")));
  EXPECT_EQ(word_at(client_.event.receive_message(), 4), 43u);
  EXPECT_EQ(sim_.count(sent(103)), 1u);
}

// The first write is one byte; a socket buffer does not hold so many writes that nobody reads.
TEST_F(RequestsTest, MessageIsWrittenByteByByte) {
  sim_.change([](Settings& settings) { settings.byte_wise = true; });
  EXPECT_EQ(sim_.send_message({}, Role::event, 200, 0, Bytes(60000)), 1u);
  EXPECT_LT(client_.event.available(), 60016u);
  EXPECT_EQ(client_.event.receive_message().size(), 60016u);
}

TEST_F(RequestsTest, ConnectionIsClosedAfterItsAnswerIsWritten) {
  sim_.change([](Settings& settings) { settings.byte_wise = true; });
  sim_.set_fault(Role::request, 3, Fault::close_after);
  client_.request.send(kSessionIds);
  EXPECT_EQ(client_.request.receive(24).size(), 24u);
  EXPECT_TRUE(client_.request.is_closed_by_peer());
}

TEST_F(RequestsTest, AnswerWithoutAnEventConnectionIsDroppedWithANote) {
  client_.event.close();
  ASSERT_TRUE(sim_.wait_for_connections(1));
  client_.request.send(kHeartbeat);
  EXPECT_TRUE(sim_.wait_for_note("no connection for the answer"));
}

TEST_F(RequestsTest, ClientIsForgottenAlsoWhileNothingIsRead) {
  sim_.change([](Settings& settings) { settings.reading = false; });
  client_.request.send(kHeartbeat);
  EXPECT_TRUE(client_.event.stays_silent());
  client_.request.close();
  client_.event.close();
  EXPECT_TRUE(sim_.wait_for_connections(0));
  EXPECT_EQ(sim_.count(received(132)), 0u);
}

TEST_F(RequestsTest, WaitsEndWithoutAMatch) {
  EXPECT_FALSE(sim_.wait_for_message(received(99), milliseconds(20)));
  EXPECT_FALSE(sim_.wait_for_clients(2, milliseconds(20)));
  EXPECT_FALSE(sim_.wait_for_note("never written", milliseconds(20)));
}

}  // namespace
}  // namespace aaa_sim_test
