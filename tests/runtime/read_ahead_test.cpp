// The receive thread takes several messages with one system call; what they do is as if it had
// read one by one. A client may read messages beside it: each reaches one of the two, whole.
#include <atomic>

#include "runtime/receive_test.h"

namespace test::read_ahead {

class ReceiveAhead : public ReceiveTest {};

TEST_F(ReceiveAhead, ManyMessagesCostOneWaitAndOneRead) {
  register_noting();
  std::atomic<int> waits = 0;
  std::atomic<int> reads = 0;
  const auto poll = [&](int fd, int timeout_ms) {
    if (fd == event_socket() && timeout_ms == 5000) ++waits;
    return std::nullopt;
  };
  const ScriptedCalls calls({.recv = on_event_socket(noting([&] { ++reads; })), .poll = poll});
  std::string burst;
  std::vector<std::string> expected;
  for (std::uint32_t id = 1; id <= 100; id++) {
    burst += numbered(id);
    expected.push_back(note_of(id));
  }
  send_raw(burst);
  ASSERT_TRUE(wait_for_notes(100));
  EXPECT_EQ(expected, noted());
  EXPECT_EQ(1, reads);
  EXPECT_LE(waits, 2);
  stop_library();
}

TEST_F(ReceiveAhead, MessagesCutAnywhereArriveWhole) {
  register_noting();
  const std::string both = numbered(1) + numbered(2);
  for (std::size_t cut = 1; cut < both.size(); cut++) {
    send_raw(both.substr(0, cut));
    send_raw(both.substr(cut));
    ASSERT_TRUE(wait_for_notes(2 * cut)) << cut;
  }
}

TEST_F(ReceiveAhead, NothingBehindAWrongMarkerReachesTheNextConnection) {
  register_noting();
  send_raw(numbered(1) + message_bytes(AAA_MSG_MLIST_CHANGE, "", 0) + numbered(2) + numbered(3));
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  send_raw(numbered(4));
  ASSERT_TRUE(wait_for_notes(2));
  EXPECT_THAT(noted(), ElementsAre(note_of(1), note_of(4)));
}

TEST_F(ReceiveAhead, AClientThatDeregistersInACallbackIsToldNothingMore) {
  register_noting([](const std::string&) { EXPECT_EQ(0, aaa_svr_dereg()); });
  send_raw(numbered(1) + numbered(2) + numbered(3));
  ASSERT_TRUE(wait_for_notes(1));
  ASSERT_TRUE(receive_thread_is_gone());
  EXPECT_EQ(1u, noted().size());
}

TEST_F(ReceiveAhead, ALinkLostBehindABurstIsNoticedAfterIt) {
  register_noting();
  send_raw(numbered(1) + numbered(2));
  sim_.close_connections();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_THAT(noted(), ElementsAre(note_of(1), note_of(2)));
}

TEST_F(ReceiveAhead, TheWatchdogIsFedAmongMessagesThatTakeLong) {
  const WatchdogRecorder watchdog;
  register_noting([this](const std::string&) { clock_.advance(51); });
  const std::size_t before = watchdog.count("reset");
  send_raw(numbered(1) + numbered(2) + numbered(3));
  ASSERT_TRUE(wait_for_notes(3));
  take_pass();
  EXPECT_LE(before + 2, watchdog.count("reset"));
}

TEST_F(ReceiveAhead, TheHeartbeatIsCheckedBetweenMessages) {
  open_gate_for_clients();
  register_noting([this](const std::string&) { clock_.advance(181); });
  send_raw(numbered(1) + numbered(2));
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_THAT(noted(), ElementsAre(note_of(1)));
}

// What is noted of the next message that a client reads; "" when there is none or it is not whole.
std::string read_as_client() {
  const std::string bytes = take_message(aaalib_recv_async_ipc_msg());
  const bool is_whole =
      bytes.size() == 28 && bytes.substr(0, 24) == message_bytes(123, zeros(12)).substr(0, 24);
  return is_whole ? "delete " + bytes.substr(16) : "";
}

class SharedReading : public ReceiveTest {
 protected:
  // A message that was received ahead, in whole or, when it is cut, in part.
  void expect_second_for_the_client(std::size_t cut) {
    SCOPED_TRACE("cut at byte " + std::to_string(cut));
    notes.reset();
    std::string of_client;
    register_noting([&](const std::string& told) {
      if (told != note_of(1)) return;
      send_raw(numbered(2).substr(cut) + numbered(3));
      of_client = read_as_client();
    });
    send_raw(numbered(1) + numbered(2).substr(0, cut));
    EXPECT_TRUE(wait_for_notes(2));
    ASSERT_EQ(0, aaa_svr_dereg()) << "which lets the callback end";
    EXPECT_EQ(note_of(2), of_client);
    ASSERT_THAT(noted(), ElementsAre(note_of(1), note_of(3)));
  }
};

TEST_F(SharedReading, AClientGetsWhatWasReceivedAheadWholeAndTheReceiveThreadTheNext) {
  for (std::size_t cut = 1; cut <= numbered(2).size(); ++cut)
    expect_second_for_the_client(cut);
}

TEST_F(SharedReading, EveryMessageReachesOneOfTwoThreadsWhole) {
  constexpr std::size_t wanted = 50;
  register_noting();
  std::vector<std::string> of_client;
  std::atomic<std::size_t> count = 0;
  std::atomic<bool> in_time = true;
  std::thread client_thread([&] {
    for (; in_time && count < wanted; ++count)
      of_client.push_back(read_as_client());
  });
  std::vector<std::string> sent;
  in_time = eventually([&] {
    const auto last = static_cast<std::uint32_t>(sent.size());
    sent.insert(sent.end(), {note_of(last + 1), note_of(last + 2)});
    const std::string both = numbered(last + 1) + numbered(last + 2);
    send_raw(both.substr(0, 21));
    send_raw(both.substr(21));
    return count >= wanted;
  });
  EXPECT_TRUE(in_time) << count << " messages for the client";
  sim_.close_connections();
  client_thread.join();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_TRUE(eventually([&] { return of_client.size() + noted().size() == sent.size(); }))
      << of_client.size() << " and " << noted().size() << " of " << sent.size();
  const std::vector<std::string> of_receive_thread = noted();
  of_client.insert(of_client.end(), of_receive_thread.begin(), of_receive_thread.end());
  EXPECT_THAT(of_client, testing::UnorderedElementsAreArray(sent)) << "a message was cut or lost";
}

}  // namespace test::read_ahead
