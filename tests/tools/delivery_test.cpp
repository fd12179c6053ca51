// How answers are delivered: late, in bytes, not at all; and how the simulator is seen to work.
#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>

#include "sim_fixture.h"

namespace aaa_sim_test {
namespace {

using std::chrono::milliseconds;
using DeliveryTest = ClientTest;

Bytes heartbeat() {
  return hex("01010101 00000000 84000000 00000000");
}

Bytes session_id_request() {
  return hex("01010101 00000000 03000000 08000000  00000000 00000000");
}

TEST_F(DeliveryTest, SilentSimulatorRecordsButDoesNotAnswer) {
  sim_.change([](Settings& settings) { settings.silent = true; });
  client_.request.send(heartbeat());
  EXPECT_TRUE(sim_.wait_for_message(received(132)));
  EXPECT_TRUE(client_.event.stays_silent(milliseconds(50)));
}

TEST_F(DeliveryTest, DelayedAnswersComeInOrderAfterTheDelay) {
  sim_.change([](Settings& settings) { settings.delay = milliseconds(60); });
  const auto start = std::chrono::steady_clock::now();
  client_.request.send(session_id_request() + session_id_request());
  const Bytes answers = client_.request.receive(48);
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(60));
  EXPECT_EQ(word_at(answers, 16), 1u);
  EXPECT_EQ(word_at(answers, 24 + 16), 101u);
}

TEST_F(DeliveryTest, DelayedAnswerToAClosedConnectionIsDropped) {
  sim_.change([](Settings& settings) { settings.delay = milliseconds(20); });
  client_.request.send(session_id_request());
  ASSERT_TRUE(sim_.wait_for_message(received(3)));
  client_.request.close();
  client_.event.close();
  ASSERT_TRUE(sim_.wait_for_connections(0));
  sim_.change([](Settings& settings) { settings.delay = milliseconds(0); });
  RawClient next = register_client();
  next.request.send(session_id_request());
  EXPECT_EQ(next.request.receive(24).size(), 24u);
  EXPECT_EQ(sim_.count(sent(3)), 1u);
}

// So many single bytes do not fit into a socket that nobody reads.
TEST_F(DeliveryTest, ByteWiseMessagesArriveInSingleWritesButWhole) {
  const Bytes body(60000, 0x5a);
  EXPECT_EQ(sim_.send_message({}, Role::event, 200, 0, body), 1u);
  EXPECT_EQ(client_.event.available(), 60016u) << "one write";
  EXPECT_EQ(client_.event.receive_message().size(), 60016u);
  sim_.change([](Settings& settings) { settings.byte_wise = true; });
  EXPECT_EQ(sim_.send_message({}, Role::event, 200, 0, body), 1u);
  EXPECT_LT(client_.event.available(), 60016u);
  EXPECT_EQ(client_.event.receive_message().size(), 60016u);
}

TEST_F(DeliveryTest, ConnectionIsClosedOnlyWhenItsAnswerIsWritten) {
  sim_.change([](Settings& settings) { settings.byte_wise = true; });
  sim_.set_fault(Role::request, 3, Fault::close_after);
  client_.request.send(session_id_request());
  EXPECT_EQ(client_.request.receive(24).size(), 24u);
  EXPECT_TRUE(client_.request.is_closed_by_peer());
}

TEST_F(DeliveryTest, RequestThatArrivesByteByByteIsAnswered) {
  for (const std::uint8_t byte : session_id_request())
    client_.request.send({byte});
  EXPECT_EQ(client_.request.receive(24).size(), 24u);
}

TEST_F(DeliveryTest, WhatIsNotReadIsReadLater) {
  sim_.change([](Settings& settings) { settings.reading = false; });
  client_.request.send(heartbeat());
  EXPECT_TRUE(client_.event.stays_silent(milliseconds(50)));
  EXPECT_EQ(sim_.count(received(132)), 0u);
  sim_.change([](Settings& settings) { settings.reading = true; });
  EXPECT_EQ(client_.event.receive(16), heartbeat());
}

TEST_F(DeliveryTest, ClientThatLeavesUnreadIsForgotten) {
  sim_.change([](Settings& settings) { settings.reading = false; });
  client_.request.close();
  client_.event.close();
  EXPECT_TRUE(sim_.wait_for_connections(0));
}

TEST_F(DeliveryTest, NobodyCanConnectWhileItDoesNotListen) {
  sim_.change([](Settings& settings) { settings.listening = false; });
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, sim_.socket_path().c_str(), sizeof address.sun_path - 1);
  const aaa_sim::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const auto* generic = reinterpret_cast<const sockaddr*>(&address);
  EXPECT_NE(::connect(socket.get(), generic, sizeof address), 0);
  client_.request.send(heartbeat());
  EXPECT_EQ(client_.event.receive(16), heartbeat()) << "old connections go on";
  sim_.change([](Settings& settings) { settings.listening = true; });
  EXPECT_EQ(::connect(socket.get(), generic, sizeof address), 0);
}

TEST_F(DeliveryTest, AllConnectionsCanBeClosed) {
  RawConnection unregistered = connect();
  ASSERT_TRUE(sim_.wait_for_connections(3));
  EXPECT_EQ(sim_.close_connections(), 3u);
  EXPECT_TRUE(unregistered.is_closed_by_peer());
  EXPECT_TRUE(client_.request.is_closed_by_peer());
  EXPECT_TRUE(client_.event.is_closed_by_peer());
}

TEST_F(DeliveryTest, OneConnectionOfAClientCanBeClosed) {
  EXPECT_EQ(sim_.close_connections({.model = "netd"}, Role::event), 1u);
  EXPECT_TRUE(client_.event.is_closed_by_peer());
  EXPECT_TRUE(client_.request.stays_silent(milliseconds(20)));
}

TEST_F(DeliveryTest, AnswerIsDroppedWithARemarkWhenTheEventSocketIsGone) {
  client_.event.close();
  ASSERT_TRUE(sim_.wait_for_connections(1));
  client_.request.send(heartbeat());
  EXPECT_TRUE(sim_.wait_for_note("no connection for the answer"));
}

TEST_F(DeliveryTest, RawBytesGoOutAsTheyAre) {
  EXPECT_EQ(sim_.send_raw({}, Role::event, hex("deadbeef 00")), 1u);
  EXPECT_EQ(client_.event.receive(5), hex("deadbeef 00"));
  EXPECT_EQ(sim_.send_raw({}, Role::request, hex("01")), 1u);
  EXPECT_EQ(client_.request.receive(1), hex("01"));
}

TEST_F(DeliveryTest, NothingIsSentToAClientThatIsNotThere) {
  EXPECT_EQ(sim_.send_message({.model = "other"}, Role::event, 122, 0), 0u);
  EXPECT_EQ(sim_.send_message({.pid = 1}, Role::event, 122, 0), 0u);
  sim_.stop();
  EXPECT_EQ(sim_.send_message({}, Role::event, 122, 0), 0u);
}

TEST_F(DeliveryTest, WaitsEndWithoutAMatch) {
  EXPECT_FALSE(sim_.wait_for_message(received(99), milliseconds(20)));
  EXPECT_FALSE(sim_.wait_for_clients(2, milliseconds(20)));
  EXPECT_FALSE(sim_.wait_for_note("never said", milliseconds(20)));
}

TEST_F(DeliveryTest, WaitCanPassOverEarlierMatches) {
  client_.request.send(
      hex("01010101 01000000 1c000000 00000000 01010101 02000000 1c000000 00000000"));
  const auto second = sim_.wait_for_message(received(28), milliseconds(5000), 1);
  ASSERT_TRUE(second);
  EXPECT_EQ(second->header.id, 2u);
}

TEST_F(DeliveryTest, MessageIsDescribedInOneLine) {
  client_.request.send(hex("01010101 2a000000 1c000000 02000000 abcd"));
  const auto message = sim_.wait_for_message(received(28));
  ASSERT_TRUE(message);
  const std::string line = describe(*message);
  EXPECT_NE(line.find("recv netd/" + std::to_string(::getpid()) +
                      " request  28 (interface control) id 42 len 2"),
            std::string::npos)
      << line;
}

}  // namespace
}  // namespace aaa_sim_test
