// Datagrams to the thread that waits for a result.
#include <cerrno>

#include "lock_probe.h"
#include "log_lines.h"
#include "message_pair.h"
#include "support/scripted_calls.h"

namespace test {
namespace {

class LocalDelivery : public MessagePairTest {
 protected:
  static void deliver(const Bytes& body) {
    aaa_lib_send_msg(body.data(), static_cast<std::uint32_t>(body.size()));
  }
};

TEST_F(LocalDelivery, ABufferIsOneDatagramWithoutAHeader) {
  deliver(text("one"));
  deliver(text("and two"));
  EXPECT_EQ(text("one"), datagram());
  EXPECT_EQ(text("and two"), datagram());
  EXPECT_EQ(Bytes(), datagram());
}

TEST_F(LocalDelivery, ItIsSentOnTheClientSocketWithTheFlagWaitAll) {
  int fd = -1;
  int flags = 0;
  Scripts scripts;
  scripts.send = [&](int given_fd, const void*, std::size_t, int given_flags) {
    fd = given_fd;
    flags = given_flags;
    return std::nullopt;
  };
  const ScriptedCalls calls(scripts);
  deliver(text("one"));
  EXPECT_EQ(lib_msg_client_fd, fd);
  EXPECT_EQ(0x100, flags & 0x100);
  EXPECT_EQ(text("one"), datagram());
}

TEST_F(LocalDelivery, WithoutAClientSocketItOnlyLogs) {
  const OpenGate gate;
  for (const int fd : {-1, 0}) {
    const LogCapture log;
    const ClientSocket replaced(fd);
    deliver(text("one"));
    expect_debug_line(log, "lib_msg_client_fd is not ready.\r\n", "aaa_lib_send_msg");
    EXPECT_EQ(1u, log.lines().size());
  }
  EXPECT_EQ(Bytes(), datagram());
}

TEST_F(LocalDelivery, AFailedSendIsLogged) {
  const OpenGate gate;
  const LogCapture log;
  Scripts scripts;
  scripts.send = [](int, const void*, std::size_t, int) {
    errno = ENOBUFS;
    return -1;
  };
  const ScriptedCalls calls(scripts);
  deliver(text("one"));
  expect_debug_line(log, "send failed No buffer space available\r\n", "aaa_lib_send_msg");
  EXPECT_EQ(1u, log.lines().size());
}

TEST_F(LocalDelivery, AClosedGateHidesFailures) {
  const LogCapture log;
  const ClientSocket replaced(-1);
  deliver(text("one"));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(LocalDelivery, NoLockIsTaken) {
  EXPECT_TRUE(needs_no_lock([] { deliver(text("one")); }));
  EXPECT_EQ(text("one"), datagram());
}

}  // namespace
}  // namespace test
