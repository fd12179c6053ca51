// Datagrams to the thread that waits for a result.
#include "support/fresh_message_sockets.h"
#include "support/locked_state.h"
#include "support/message_pair.h"

namespace test::local_delivery {

class LocalDelivery : public LibraryTest {
 protected:
  LocalDelivery() {
    make_message_pair();
    test::set_model_name("test");
  }
  ~LocalDelivery() override { aaa::store(lib_msg_client_fd, client_fd_); }

  static void deliver(const std::string& body = "one") {
    aaa_lib_send_msg(body.data(), static_cast<std::uint32_t>(body.size()));
  }
  static void expect_logged(const std::string& message) {
    const OpenLog log;
    deliver();
    expect_only_line(log, "aaa_lib_send_msg", message);
  }

 private:
  const std::int32_t client_fd_ = lib_msg_client_fd;
};

TEST_F(LocalDelivery, ABufferIsOneDatagramWithoutAHeader) {
  deliver("one");
  deliver("and two");
  EXPECT_EQ("one", datagram());
  EXPECT_EQ("and two", datagram());
  EXPECT_EQ("", datagram());
}

TEST_F(LocalDelivery, ItIsSentOnTheClientSocketWithTheFlagWaitAll) {
  int fd = -1;
  int flags = 0;
  const ScriptedCalls calls({.send = [&](int given_fd, const void*, std::size_t, int given_flags) {
    fd = given_fd;
    flags = given_flags;
    return std::nullopt;
  }});
  deliver();
  EXPECT_EQ(lib_msg_client_fd, fd);
  EXPECT_EQ(0x100, flags & 0x100);
  EXPECT_EQ("one", datagram());
}

TEST_F(LocalDelivery, WithoutAClientSocketItOnlyLogsUnlessTheGateIsClosed) {
  for (const int fd : {-1, 0}) {
    aaa::store(lib_msg_client_fd, fd);
    expect_logged("lib_msg_client_fd is not ready.\r\n");
    const LogCapture log;
    deliver();
    EXPECT_TRUE(log.lines().empty());
  }
  EXPECT_EQ("", datagram());
}

TEST_F(LocalDelivery, AFailedSendIsLogged) {
  const ScriptedCalls calls({.send = failing(ENOBUFS)});
  expect_logged("send failed No buffer space available\r\n");
}

TEST_F(LocalDelivery, NoLockIsTaken) {
  EXPECT_TRUE(returns_under_locks(2, [] { deliver(); }));
  EXPECT_EQ("one", datagram());
}

TEST_F(LocalDelivery, ADescriptorOfTheClientsOwnIsSentOnBeforeThePairIsReady) {
  const ScriptedPeer own;
  const std::uint8_t ready = aaa::g_msg_socket_ok;
  aaa::store(aaa::g_msg_socket_ok, std::uint8_t{0});
  aaa::store(lib_msg_client_fd, own.own());
  deliver();
  aaa::store(aaa::g_msg_socket_ok, ready);
  EXPECT_EQ("one", own.peer_reads());
}

TEST_F(LocalDelivery, EveryDescriptorFrom1OnIsSentOn) {
  int fd = -1;
  const ScriptedCalls calls({.send = [&](int given, const void*, std::size_t size, int) {
    fd = given;
    return static_cast<ssize_t>(size);
  }});
  aaa::store(lib_msg_client_fd, 1);
  deliver();
  EXPECT_EQ(1, fd);
}

// The client socket is made, and closed again because it cannot be connected. The host process has
// got its number meanwhile.
class ClosedClientSocket : public LocalDelivery {
 protected:
  ClosedClientSocket() {
    const ScriptedCalls calls({.connect = failing(ECONNREFUSED)});
    EXPECT_EQ(-1, aaa_lib_msg_socket_init());
    number_ = lib_msg_client_fd;
    EXPECT_EQ(number_, dup2(host_.own(), number_));
  }
  ~ClosedClientSocket() override { ::close(number_); }

  FreshMessageSockets fresh_;
  ScriptedPeer host_;
  std::int32_t number_ = -1;
};

TEST_F(ClosedClientSocket, IsNotWrittenToWhateverHasItsNumber) {
  expect_logged("send failed Bad file descriptor\r\n");
  EXPECT_EQ(0u, host_.waiting_for_peer());
}

TEST_F(ClosedClientSocket, CountsAsClosedUntilTheWordHasHeldAnotherValue) {
  aaa::store(lib_msg_client_fd, host_.own());
  deliver();
  aaa::store(lib_msg_client_fd, number_);
  deliver();
  EXPECT_EQ("oneone", host_.peer_reads());
}

class ClosedUntil : public ClosedClientSocket, public testing::WithParamInterface<std::int32_t> {};

TEST_P(ClosedUntil, TheWordHasHeldAValueThatIsNoSocket) {
  aaa::store(lib_msg_client_fd, GetParam());
  deliver("lost");
  aaa::store(lib_msg_client_fd, number_);
  deliver();
  EXPECT_EQ("one", host_.peer_reads());
}

INSTANTIATE_TEST_SUITE_P(ClosedClientSocket, ClosedUntil, testing::Values(-1, 0),
                         [](const auto& tested) { return tested.param == 0 ? "Zero" : "Minus1"; });

TEST_F(ClosedClientSocket, CountsAsClosedUntilNoneCouldBeOpened) {
  const ScriptedCalls calls({.socket = failing_at(2, EMFILE)});
  EXPECT_EQ(-1, aaa_lib_msg_socket_init());
  EXPECT_EQ(-1, lib_msg_client_fd);
  aaa::store(lib_msg_client_fd, number_);
  deliver();
  EXPECT_EQ("one", host_.peer_reads());
}

TEST_F(ClosedClientSocket, IsNotWrittenToFromItsCloseOn) {
  ::close(number_);
  std::size_t sends = 0;
  const ScriptedCalls calls({.send = noting([&] { ++sends; }),
                             .connect = failing(ECONNREFUSED),
                             .close = noting([] { deliver(); })});
  EXPECT_EQ(-1, aaa_lib_msg_socket_init());
  EXPECT_EQ(0u, sends);
}

TEST_F(ClosedClientSocket, WithItsNumberIsAnOpenOneWhenItIsMadeAnew) {
  ::close(number_);
  ASSERT_EQ(0, aaa_lib_msg_socket_init());
  ASSERT_EQ(number_, lib_msg_client_fd);
  deliver();
  EXPECT_EQ("one", datagram());
  ASSERT_EQ(number_, dup2(host_.own(), number_));
}

TEST_F(ClosedClientSocket, IsNoObstacleToTheSocketLoops) {
  EXPECT_EQ(0, aaa_msg_send(number_, "own", 3, 0));
  EXPECT_EQ("own", host_.peer_reads());
}

}  // namespace test::local_delivery
