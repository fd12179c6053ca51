// Datagrams to the thread that waits for a result.
#include <sys/socket.h>

#include <cerrno>
#include <optional>

#include "lock_probe.h"
#include "log_lines.h"
#include "message_pair.h"
#include "support/fresh_message_sockets.h"
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

TEST_F(LocalDelivery, ADescriptorOfTheClientsOwnIsSentOnBeforeThePairIsReady) {
  SocketPair own;
  ASSERT_TRUE(own.open());
  const std::uint8_t ready = aaa::g_msg_socket_ok;
  aaa::store(aaa::g_msg_socket_ok, std::uint8_t{0});
  {
    const ClientSocket replaced(own.own());
    deliver(text("one"));
  }
  aaa::store(aaa::g_msg_socket_ok, ready);
  ASSERT_EQ(3u, own.waiting_for_peer());
  EXPECT_EQ("one", own.peer_reads(3));
}

TEST_F(LocalDelivery, EveryDescriptorFrom1OnIsSentOn) {
  int fd = -1;
  const ScriptedCalls calls({.send = [&](int given, const void*, std::size_t size, int) {
    fd = given;
    return static_cast<ssize_t>(size);
  }});
  const ClientSocket replaced(1);
  deliver(text("one"));
  EXPECT_EQ(1, fd);
}

// The client socket is made, and closed again because it cannot be connected.
class ClosedClientSocket : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    ASSERT_TRUE(host_.open());
    fresh_.emplace();
    aaa_lib_make_work_dir();
    const ScriptedCalls calls({.connect = [](int, const sockaddr*, unsigned) {
      errno = ECONNREFUSED;
      return -1;
    }});
    ASSERT_EQ(-1, aaa_lib_msg_socket_init());
    number_ = lib_msg_client_fd;
    ASSERT_EQ(number_, dup2(host_.own(), number_));
  }
  void TearDown() override {
    ::close(number_);
    host_.close();
    fresh_.reset();
    LibraryTest::TearDown();
  }
  static void deliver() { aaa_lib_send_msg("one", 3); }

  std::optional<FreshMessageSockets> fresh_;
  SocketPair host_;
  std::int32_t number_ = -1;
};

TEST_F(ClosedClientSocket, IsNotWrittenToWhateverHasItsNumber) {
  const OpenGate gate;
  const LogCapture log;
  deliver();
  expect_debug_line(log, "send failed Bad file descriptor\r\n", "aaa_lib_send_msg");
  EXPECT_EQ(0u, host_.waiting_for_peer());
}

TEST_F(ClosedClientSocket, CountsAsClosedUntilTheWordHasHeldAnotherValue) {
  aaa::store(lib_msg_client_fd, host_.own());
  deliver();
  aaa::store(lib_msg_client_fd, number_);
  deliver();
  ASSERT_EQ(6u, host_.waiting_for_peer());
  EXPECT_EQ("oneone", host_.peer_reads(6));
}

TEST_F(ClosedClientSocket, WithItsNumberIsAnOpenOneWhenItIsMadeAnew) {
  ::close(number_);
  ASSERT_EQ(0, aaa_lib_msg_socket_init());
  ASSERT_EQ(number_, lib_msg_client_fd);
  deliver();
  EXPECT_EQ(text("one"), datagram());
  ASSERT_EQ(number_, dup2(host_.own(), number_));
}

TEST_F(ClosedClientSocket, IsNoObstacleToTheSocketLoops) {
  EXPECT_EQ(0, aaa_msg_send(number_, "own", 3, 0));
  ASSERT_EQ(3u, host_.waiting_for_peer());
  EXPECT_EQ("own", host_.peer_reads(3));
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
