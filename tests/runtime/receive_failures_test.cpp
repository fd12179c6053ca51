// What the receive thread makes of waits and reads that fail, and which of them lose the
// connection.
#include <atomic>
#include <cerrno>
#include <cstring>

#include "bytes.h"
#include "log_lines.h"
#include "message_pair.h"
#include "runtime/send/waiting_session.h"
#include "support/registered_test.h"

namespace test {
namespace {

class ReceiveFailures : public RegisteredTest {
 protected:
  void SetUp() override {
    RegisteredTest::SetUp();
    open_gate_for_clients();
  }
  void TearDown() override {
    aaa::set_waiting_session(0);
    RegisteredTest::TearDown();
    forget_datagrams();
  }

  // Registers, with a session waiting for its result.
  void register_waiting() {
    register_client();
    take_pass();
    forget_datagrams();
    aaa::set_waiting_session(77);
  }
  // Expects that the waiting session was told of a failure that cost nothing else.
  void expect_same_connection(int event_socket_before) {
    take_pass();
    EXPECT_EQ(77u, word_at(datagram(), 576));
    EXPECT_EQ(event_socket_before, event_socket());
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
    EXPECT_EQ(1u, log_.count(message)) << message;
    expect_debug_line(log_, message, "aaa_lib_thread", receive_thread());
  }

  LogCapture log_;
};

TEST_F(ReceiveFailures, AClosedConnectionIsABrokenPipe) {
  register_waiting();
  sim_.close_connections();
  expect_new_connection();
  expect_thread_line("receive error with error Broken pipe.\r\n");
}

TEST_F(ReceiveFailures, AFailedWaitIsLoggedAndAClosedDescriptorLosesTheConnection) {
  register_waiting();
  const ScriptedCalls calls(next_wait_fails(EBADF));
  nudge();
  expect_new_connection();
  expect_thread_line("select error! errno:9.\r\n");
}

TEST_F(ReceiveFailures, AWaitThatFailsOtherwiseKeepsTheConnection) {
  register_waiting();
  const int before = event_socket();
  const ScriptedCalls calls(next_wait_fails(EINVAL));
  take_pass();
  expect_same_connection(before);
  expect_thread_line("select error! errno:22.\r\n");
}

TEST_F(ReceiveFailures, AFailedHeaderReadThatIsNoConnectionErrorKeepsTheConnection) {
  register_waiting();
  const int before = event_socket();
  const ScriptedCalls calls(next_read_fails(EIO));
  nudge();
  expect_same_connection(before);
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

TEST_F(ReceiveFailures, AHeaderWithAWrongMarkerIsAlwaysLoggedAndLosesTheConnection) {
  sim_.change([](Settings& settings) { settings.status.debug = 0; });
  register_waiting();
  const pid_t thread = receive_thread();
  send_raw(words({0x01010102, 0, 122, 0}));
  expect_new_connection();
  ASSERT_EQ(1u, log_.lines().size());
  const LogLine line = log_.lines()[0];
  char text[80];
  std::snprintf(text, sizeof text, "AAA LIB [%5d][%30.30s] aaa id not match.\r\n", thread,
                "aaa_lib_thread");
  EXPECT_EQ(text, line.text);
  EXPECT_EQ(7, line.priority);
  EXPECT_EQ("UNKNOW_MODULE", line.module);
  EXPECT_EQ("DEBUG", line.submodule);
  EXPECT_EQ(2, line.kind);
}

TEST_F(ReceiveFailures, AMessageWithAWrongMarkerIsNotDispatched) {
  register_waiting();
  send_raw(words({0, 0, 122, 0}));
  expect_new_connection();
  EXPECT_EQ(2u, times_told(AAA_EVENT_METHOD_LISTS_CHANGED));
}

TEST_F(ReceiveFailures, ABodyWithoutMemoryIsLoggedAndLosesTheConnection) {
  register_waiting();
  Scripts scripts;
  scripts.malloc = [](std::size_t size) -> std::optional<void*> {
    if (size != 5001) return std::nullopt;
    return nullptr;
  };
  const ScriptedCalls calls(scripts);
  send(AAA_MSG_NOTIFY_COA_REQ, Bytes(5000, 0));
  expect_new_connection();
  expect_thread_line("out of memory.\r\n");
}

TEST_F(ReceiveFailures, ALengthThatNoMemoryHoldsIsOutOfMemoryToo) {
  for (const std::uint32_t length : {0xffffffffu, 0x80000000u, 0x7ffffff0u}) {
    const LogCapture log;
    register_client();
    take_pass();
    send_raw(words({0x01010101, 0, 126, length}));
    EXPECT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
    EXPECT_EQ(1u, log.count("out of memory.\r\n"));
    stop_library();
    TearDown();
    SetUp();
  }
}

TEST_F(ReceiveFailures, AFailedBodyReadKeepsTheConnectionWithoutALine) {
  register_waiting();
  const int before = event_socket();
  const std::size_t lines = log_.lines().size();
  const ScriptedCalls calls(next_read_fails(ECONNRESET, 16));
  send_raw(words({0x01010101, 0, 126, 100}));
  expect_same_connection(before);
  // The handling of the message that followed.
  EXPECT_EQ(lines + 1, log_.lines().size());
}

TEST_F(ReceiveFailures, AfterAFailedBodyReadTheNextHeaderIsReadFromWhereTheStreamStands) {
  register_waiting();
  const ScriptedCalls calls(next_read_fails(EIO, 16));
  send_raw(words({0x01010101, 0, 126, 100}) + Bytes(100, 'x'));
  expect_new_connection();
  EXPECT_EQ(1u, log_.count([&] {
    for (const LogLine& line : log_.lines()) {
      if (line.module == "UNKNOW_MODULE") return line.message();
    }
    return std::string();
  }()));
}

TEST_F(ReceiveFailures, ABodyThatStaysAwayIsGivenUpAfterTenSeconds) {
  register_waiting();
  const int before = event_socket();
  Scripts scripts;
  std::atomic<int> reads = 0;
  scripts.recv = [&](int given, void*, std::size_t, int) -> std::optional<ssize_t> {
    // The header, five attempts at the body, and what follows.
    if (given != before || reads++ % 6 == 0) return std::nullopt;
    clock_.advance(2);
    errno = EAGAIN;
    return -1;
  };
  const ScriptedCalls calls(scripts);
  send_raw(words({0x01010101, 0, 126, 100}));
  ASSERT_TRUE(eventually([&] { return reads >= 6; }));
  expect_same_connection(before);
}

}  // namespace
}  // namespace test
