// What the receive thread makes of waits and reads that fail, and which of them lose the
// connection.
#include <atomic>

#include "runtime/receive_test.h"

namespace test::receive_failures {

class ReceiveFailures : public ReceiveTest {
 protected:
  ReceiveFailures() { open_gate_for_clients(); }

  // Registers, with a session waiting for its result.
  void register_waiting() {
    register_client();
    take_pass();
    forget_datagrams();
    aaa::set_waiting_session(77);
    socket_before_ = event_socket();
  }
  // Expects that the waiting session was told of a failure that cost nothing else.
  void expect_same_connection() {
    take_pass();
    EXPECT_EQ(77u, word_at(datagram(), 576));
    EXPECT_EQ(socket_before_, event_socket());
    EXPECT_EQ(AAA_REG_REGISTERED, state());
    EXPECT_EQ(0u, times_told(AAA_EVENT_CONNECTION_LOST));
    EXPECT_EQ(2u, sim_.accepted_connections());
  }
  // Expects that the connection was lost and made again.
  void expect_new_connection() {
    EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
    EXPECT_EQ(77u, word_at(datagram(), 576));
    EXPECT_EQ(1u, times_told(AAA_EVENT_CONNECTION_LOST));
    EXPECT_EQ(4u, sim_.accepted_connections());
    take_pass();
  }
  void expect_thread_line(const std::string& message) {
    expect_line(log_, "aaa_lib_thread", message, receive_thread());
  }

  int socket_before_ = -1;
  LogCapture log_;
};

TEST_F(ReceiveFailures, AClosedConnectionIsABrokenPipe) {
  register_waiting();
  sim_.close_connections();
  expect_new_connection();
  expect_thread_line("receive error with error Broken pipe.\r\n");
}

TEST_F(ReceiveFailures, AWaitOnAClosedDescriptorLosesTheConnection) {
  register_waiting();
  const ScriptedCalls calls(next_wait_fails(EBADF));
  nudge();
  expect_new_connection();
  expect_thread_line("select error! errno:9.\r\n");
}

TEST_F(ReceiveFailures, AWaitThatFailsOtherwiseKeepsTheConnection) {
  register_waiting();
  const ScriptedCalls calls(next_wait_fails(EINVAL));
  take_pass();
  expect_same_connection();
  expect_thread_line("select error! errno:22.\r\n");
}

TEST_F(ReceiveFailures, AnInterruptedWaitIsRepeatedWithoutALine) {
  const ScriptedCalls calls(next_wait_fails(EINTR));
  register_client();
  take_pass();
  EXPECT_EQ(0u, log_.count("select error! errno:4.\r\n"));
  EXPECT_EQ(0u, times_told(AAA_EVENT_CONNECTION_LOST));
}

TEST_F(ReceiveFailures, AFailedHeaderReadThatIsNoConnectionErrorKeepsTheConnection) {
  register_waiting();
  const ScriptedCalls calls(next_read_fails(EIO));
  nudge();
  expect_same_connection();
  expect_thread_line("receive error with error Input/output error.\r\n");
}

class ConnectionErrors : public ReceiveFailures, public testing::WithParamInterface<int> {};

TEST_P(ConnectionErrors, OfAHeaderReadLoseTheConnection) {
  register_waiting();
  const ScriptedCalls calls(next_read_fails(GetParam()));
  nudge();
  expect_new_connection();
  expect_thread_line("receive error with error " + std::string(std::strerror(GetParam())) +
                     ".\r\n");
}

INSTANTIATE_TEST_SUITE_P(Numbers, ConnectionErrors,
                         testing::Values(9, 32, 88, 95, 100, 104, 107, 110));

TEST_F(ReceiveFailures, AWrongMarkerIsAlwaysLoggedNotDispatchedAndLosesTheConnection) {
  sim_.change([](Settings& settings) { settings.status.debug = 0; });
  register_waiting();
  const pid_t thread = receive_thread();
  send_raw(message_bytes(AAA_MSG_MLIST_CHANGE, "", 0x01010102));
  expect_new_connection();
  EXPECT_EQ(2u, times_told(AAA_EVENT_METHOD_LISTS_CHANGED)) << "of the two passes";
  ASSERT_EQ(1u, log_.lines().size());
  expect_ungated(log_.lines()[0], ungated_text("aaa_lib_thread", "aaa id not match.\r\n", thread));
}

TEST_F(ReceiveFailures, ABodyWithoutMemoryIsLoggedAndLosesTheConnection) {
  register_waiting();
  const ScriptedCalls calls(no_memory_for(5001));
  send(AAA_MSG_NOTIFY_COA_REQ, zeros(5000));
  expect_new_connection();
  expect_thread_line("out of memory.\r\n");
}

class LengthsBeyondMemory : public ReceiveFailures,
                            public testing::WithParamInterface<std::uint32_t> {};

TEST_P(LengthsBeyondMemory, AreOutOfMemoryToo) {
  register_waiting();
  send_raw(word_bytes({0x01010101, 0, 126, GetParam()}));
  expect_new_connection();
  expect_thread_line("out of memory.\r\n");
}

INSTANTIATE_TEST_SUITE_P(Lengths, LengthsBeyondMemory,
                         testing::Values(0xffffffff, 0x80000000, 0x7ffffff0));

TEST_F(ReceiveFailures, AFailedBodyReadKeepsTheConnectionWithoutALine) {
  register_waiting();
  const std::size_t lines = log_.lines().size();
  const ScriptedCalls calls(next_read_fails(ECONNRESET, 16));
  send_raw(word_bytes({0x01010101, 0, 126, 100}));
  expect_same_connection();
  // The handling of the message that followed.
  EXPECT_EQ(lines + 1, log_.lines().size());
}

TEST_F(ReceiveFailures, AfterAFailedBodyReadTheNextHeaderIsReadFromWhereTheStreamStands) {
  register_waiting();
  const ScriptedCalls calls(next_read_fails(EIO, 16));
  send_raw(word_bytes({0x01010101, 0, 126, 100}) + std::string(100, 'x'));
  expect_new_connection();
  std::size_t ungated_lines = 0;
  for (const LogLine& line : log_.lines())
    ungated_lines += line.module == "UNKNOW_MODULE" ? 1 : 0;
  EXPECT_EQ(1u, ungated_lines) << "of a wrong marker";
}

TEST_F(ReceiveFailures, ABodyThatStaysAwayIsGivenUpAfterTenSeconds) {
  register_waiting();
  std::atomic<int> reads = 0;
  // The header, five attempts at the body, and what follows.
  const ScriptedCalls calls({.recv = on_event_socket([&](auto&&...) -> std::optional<ssize_t> {
                               if (reads++ % 6 == 0) return std::nullopt;
                               clock_.advance(2);
                               return fails(EAGAIN);
                             })});
  send_raw(word_bytes({0x01010101, 0, 126, 100}));
  ASSERT_TRUE(eventually([&] { return reads >= 6; }));
  expect_same_connection();
}

}  // namespace test::receive_failures
