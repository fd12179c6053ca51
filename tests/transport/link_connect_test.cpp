// Connecting the request and event sockets to aaad.
#include <fcntl.h>
#include <sys/un.h>

#include <filesystem>
#include <fstream>

#include "session/state/locks.h"
#include "support/lock_check.h"
#include "transport/endpoint_test.h"

namespace {

using test::fails;
using test::ScriptedCalls;

class LinkConnect : public test::EndpointTest {
 protected:
  void SetUp() override {
    EndpointTest::SetUp();
    sim_.start();
  }
  void TearDown() override {
    sim_.stop();
    EndpointTest::TearDown();
  }

  std::string prefix() const { return work_directory() + "/.aaal_socket_fs1_"; }
  std::string own_name() const { return prefix() + std::to_string(getpid()); }
  std::string server_name() const { return work_directory() + "/.aaa_domain_socket_fs"; }
  std::int32_t connect() { return aaa_lib_client_connect(prefix().c_str()); }

  aaa_sim::AaadSim sim_{directory()};
};

TEST_F(LinkConnect, ConnectsFromTheOwnNameToTheNameOfAaad) {
  const int fd = connect();
  ASSERT_GT(fd, 0);
  EXPECT_EQ(own_name(), local_name(fd));
  EXPECT_EQ(server_name(), peer_name(fd));
  EXPECT_TRUE(sim_.wait_for_connections(1));
  ::close(fd);
}

TEST_F(LinkConnect, LeavesNoSocketFileBehind) {
  const int fd = connect();
  EXPECT_THAT(files(), testing::ElementsAre(".aaa_domain_socket_fs"));
  ::close(fd);
}

TEST_F(LinkConnect, ReceivingAndSendingTimeOutAfterTwoSeconds) {
  const int fd = connect();
  EXPECT_EQ("2 s 0 us", timeout(fd, SO_RCVTIMEO));
  EXPECT_EQ("2 s 0 us", timeout(fd, SO_SNDTIMEO));
  ::close(fd);
}

TEST_F(LinkConnect, TheSocketIsAStreamAndClosedOnExec) {
  const int fd = connect();
  int type = 0;
  socklen_t size = sizeof type;
  ASSERT_EQ(0, getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size));
  EXPECT_EQ(SOCK_STREAM, type);
  EXPECT_EQ(FD_CLOEXEC, fcntl(fd, F_GETFD));
  ::close(fd);
}

TEST_F(LinkConnect, AddressesEndWithTheirPaths) {
  std::vector<unsigned> lengths;
  const auto note = [&](int, const sockaddr*, unsigned length) -> std::optional<int> {
    lengths.push_back(length);
    return std::nullopt;
  };
  const ScriptedCalls calls({.bind = note, .connect = note});
  ::close(connect());
  EXPECT_THAT(lengths, testing::ElementsAre(own_name().size() + 2, server_name().size() + 2));
}

TEST_F(LinkConnect, AStaleSocketFileDoesNotMatter) {
  std::ofstream(own_name()) << "left by a process with the same id";
  const int fd = connect();
  EXPECT_GT(fd, 0);
  EXPECT_THAT(files(), testing::ElementsAre(".aaa_domain_socket_fs"));
  ::close(fd);
}

TEST_F(LinkConnect, WritesNoLineWhenAllIsWell) {
  const test::OpenGate gate;
  const test::LogCapture log;
  ::close(connect());
  EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(LinkConnect, WithoutTmpdirNothingIsTried) {
  const std::string path = prefix();
  unsetenv("TMPDIR");
  const ScriptedCalls calls({.socket = [](int, int) { return ADD_FAILURE(), fails(EIO); }});
  EXPECT_EQ(-1, aaa_lib_client_connect(path.c_str()));
}

TEST_F(LinkConnect, ANameOfAaadThatDoesNotFitIsAFailure) {
  setenv("TMPDIR", std::string(108 - 35, 'x').c_str(), 1);
  const ScriptedCalls calls({.socket = [](int, int) { return ADD_FAILURE(), fails(EIO); }});
  EXPECT_EQ(-1, connect());
}

TEST_F(LinkConnect, AFailedSocketIsReported) {
  const ScriptedCalls calls({.socket = [](int, int) { return fails(EMFILE); }});
  expect_failure([this] { return connect(); }, "create socket error!!! Too many open files\r\n",
                 "aaa_lib_client_connect");
}

TEST_F(LinkConnect, AFailedBindIsReportedAndNothingIsLeft) {
  const ScriptedCalls calls(
      {.bind = [](int, const sockaddr*, unsigned) { return fails(EADDRINUSE); }});
  std::ofstream(own_name()) << "in the way";
  expect_failure([this] { return connect(); }, "bind socket error!!! Address already in use\r\n",
                 "aaa_lib_client_connect");
  EXPECT_THAT(files(), testing::ElementsAre(".aaa_domain_socket_fs"));
}

TEST_F(LinkConnect, AFailedConnectIsReportedAndNothingIsLeft) {
  sim_.stop();
  expect_failure([this] { return connect(); },
                 "connect to (" + server_name() + ") failed, No such file or directory\r\n",
                 "aaa_lib_client_connect");
  EXPECT_THAT(files(), testing::IsEmpty());
}

TEST_F(LinkConnect, AFailedReceiveTimeoutIsIgnored) {
  const ScriptedCalls calls({.setsockopt = [](int, int, int option) -> std::optional<int> {
    if (option == SO_RCVTIMEO) return fails(ENOPROTOOPT);
    return std::nullopt;
  }});
  const int fd = connect();
  EXPECT_GT(fd, 0);
  ::close(fd);
}

TEST_F(LinkConnect, AFailedSendTimeoutIsReportedPastTheGateAndNothingIsLeft) {
  const ScriptedCalls calls({.setsockopt = [](int, int, int option) -> std::optional<int> {
    if (option == SO_SNDTIMEO) return fails(ENOPROTOOPT);
    return std::nullopt;
  }});
  const test::LogCapture log;
  EXPECT_EQ(-1, connect());
  ASSERT_EQ(1u, log.lines().size());
  const test::LogLine line = log.lines().front();
  EXPECT_EQ("AAA LIB [%5d][%30.30s] setsockopt fail errno=%d error(%s).\r\n", line.format);
  EXPECT_EQ(test::ungated_text("aaa_lib_client_connect",
                               "setsockopt fail errno=92 error(Protocol not available).\r\n"),
            line.text);
  EXPECT_EQ("UNKNOW_MODULE", line.module);
  EXPECT_EQ("DEBUG", line.submodule);
  EXPECT_EQ(2, line.kind);
  EXPECT_EQ(7, line.priority);
  EXPECT_THAT(files(), testing::ElementsAre(".aaa_domain_socket_fs"));
}

TEST_F(LinkConnect, AClosedGateKeepsLinesBack) {
  sim_.stop();
  const test::LogCapture log;
  EXPECT_EQ(-1, connect());
  EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(LinkConnect, BothSocketsAreOpenedFromTheirNames) {
  EXPECT_EQ(0, aaa_lib_client_connect_all());
  EXPECT_EQ(work_directory() + "/.aaal_socket_fs1_" + std::to_string(getpid()),
            local_name(g_aaa_client_cb.sync_fd));
  EXPECT_EQ(work_directory() + "/.aaal_socket_fs2_" + std::to_string(getpid()),
            local_name(g_aaa_client_cb.async_fd));
  EXPECT_TRUE(sim_.wait_for_connections(2));
}

TEST_F(LinkConnect, ASocketThatIsOpenStays) {
  ASSERT_EQ(0, aaa_lib_client_connect_all());
  const std::int32_t sync_fd = g_aaa_client_cb.sync_fd;
  const std::int32_t async_fd = g_aaa_client_cb.async_fd;
  const ScriptedCalls calls(
      {.connect = [](int, const sockaddr*, unsigned) { return ADD_FAILURE(), fails(EIO); }});
  EXPECT_EQ(0, aaa_lib_client_connect_all());
  EXPECT_EQ(sync_fd, g_aaa_client_cb.sync_fd);
  EXPECT_EQ(async_fd, g_aaa_client_cb.async_fd);
}

TEST_F(LinkConnect, OnlyTheMissingSocketIsOpened) {
  ASSERT_EQ(0, aaa_lib_client_connect_all());
  const std::int32_t sync_fd = g_aaa_client_cb.sync_fd;
  ::close(g_aaa_client_cb.async_fd);
  aaa::store(g_aaa_client_cb.async_fd, 0);
  EXPECT_EQ(0, aaa_lib_client_connect_all());
  EXPECT_EQ(sync_fd, g_aaa_client_cb.sync_fd);
  EXPECT_GT(g_aaa_client_cb.async_fd, 0);
  EXPECT_TRUE(test::eventually([&] { return sim_.accepted_connections() == 3; }));
}

TEST_F(LinkConnect, AfterAFailedRequestSocketTheEventSocketIsNotTried) {
  int tries = 0;
  const ScriptedCalls calls(
      {.connect = [&](int, const sockaddr*, unsigned) { return ++tries, fails(ECONNREFUSED); }});
  EXPECT_EQ(-1, aaa_lib_client_connect_all());
  EXPECT_EQ(1, tries);
  EXPECT_EQ(-1, g_aaa_client_cb.sync_fd);
  EXPECT_EQ(-1, g_aaa_client_cb.async_fd);
  EXPECT_TRUE(test::is_free(aaa_lib_lock));
}

TEST_F(LinkConnect, AfterAFailedEventSocketTheRequestSocketStaysOpen) {
  int tries = 0;
  const ScriptedCalls calls({.connect = [&](int, const sockaddr*, unsigned) -> std::optional<int> {
    if (++tries == 2) return fails(ECONNREFUSED);
    return std::nullopt;
  }});
  EXPECT_EQ(-1, aaa_lib_client_connect_all());
  EXPECT_GT(g_aaa_client_cb.sync_fd, 0);
  EXPECT_EQ(-1, g_aaa_client_cb.async_fd);
}

TEST_F(LinkConnect, WithoutTmpdirNeitherIsOpened) {
  unsetenv("TMPDIR");
  EXPECT_EQ(-1, aaa_lib_client_connect_all());
  EXPECT_EQ(-1, g_aaa_client_cb.sync_fd);
}

TEST_F(LinkConnect, TheLibraryLockIsHeldWhileTheSocketsAreOpened) {
  bool was_free = true;
  const ScriptedCalls calls({.connect = [&](int, const sockaddr*, unsigned) {
    was_free = test::is_free(aaa_lib_lock);
    return fails(ECONNREFUSED);
  }});
  aaa_lib_client_connect_all();
  EXPECT_FALSE(was_free);
}

}  // namespace
