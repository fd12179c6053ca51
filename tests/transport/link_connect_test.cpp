// Connecting the request and event sockets to aaad.
#include "transport/endpoint_test.h"

namespace test::link_connect {

class LinkConnect : public EndpointTest {
 protected:
  LinkConnect() { sim_.start(); }

  std::string prefix() const { return work_directory() + "/.aaal_socket_fs1_"; }
  std::string own_name() const { return prefix() + std::to_string(getpid()); }
  std::string server_name() const { return work_directory() + "/.aaa_domain_socket_fs"; }
  std::int32_t connect() { return aaa_lib_client_connect(prefix().c_str()); }
  void expect_connect_failure(const std::string& message) {
    expect_failure([this] { return connect(); }, message, "aaa_lib_client_connect");
  }
  static Scripts failing_option(int failing) {
    return {.setsockopt = [failing](int, int, int option) -> std::optional<int> {
      if (option == failing) return fails(ENOPROTOOPT);
      return std::nullopt;
    }};
  }

  aaa_sim::AaadSim sim_{directory()};
  LogCapture log_;
};

TEST_F(LinkConnect, ConnectsAStreamFromTheOwnNameToTheNameOfAaad) {
  const OpenGate gate;
  const int fd = connect();
  ASSERT_GT(fd, 0);
  EXPECT_EQ(own_name(), local_name(fd));
  EXPECT_EQ(server_name(), peer_name(fd));
  EXPECT_TRUE(sim_.wait_for_connections(1));
  expect_type_and_close_on_exec(fd, SOCK_STREAM);
  EXPECT_EQ("2 s 0 us", timeout(fd, SO_RCVTIMEO));
  EXPECT_EQ("2 s 0 us", timeout(fd, SO_SNDTIMEO));
  EXPECT_THAT(files(), ElementsAre(".aaa_domain_socket_fs")) << "no file of its own is left";
  EXPECT_THAT(log_.lines(), IsEmpty());
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
  EXPECT_THAT(lengths, ElementsAre(own_name().size() + 2, server_name().size() + 2));
}

TEST_F(LinkConnect, AStaleSocketFileDoesNotMatter) {
  std::ofstream(own_name()) << "left by a process with the same id";
  const int fd = connect();
  EXPECT_GT(fd, 0);
  EXPECT_THAT(files(), ElementsAre(".aaa_domain_socket_fs"));
  ::close(fd);
}

TEST_F(LinkConnect, WithoutANameOrTmpdirNothingIsTried) {
  const OpenGate gate;
  const std::string path = prefix();
  const ScriptedCalls calls({.socket = unwanted()});
  EXPECT_EQ(-1, aaa_lib_client_connect(nullptr));
  EXPECT_THAT(log_.lines(), IsEmpty());
  unsetenv("TMPDIR");
  EXPECT_EQ(-1, aaa_lib_client_connect(path.c_str()));
}

TEST_F(LinkConnect, ANameOfAaadThatDoesNotFitIsAFailure) {
  setenv("TMPDIR", std::string(108 - 35, 'x').c_str(), 1);
  const ScriptedCalls calls({.socket = unwanted()});
  EXPECT_EQ(-1, connect());
}

TEST_F(LinkConnect, AFailedSocketIsReported) {
  const ScriptedCalls calls({.socket = failing(EMFILE)});
  expect_connect_failure("create socket error!!! Too many open files\r\n");
}

TEST_F(LinkConnect, AFailedBindIsReportedAndNothingIsLeft) {
  const ScriptedCalls calls({.bind = failing(EADDRINUSE)});
  std::ofstream(own_name()) << "in the way";
  expect_connect_failure("bind socket error!!! Address already in use\r\n");
  EXPECT_THAT(files(), ElementsAre(".aaa_domain_socket_fs"));
}

TEST_F(LinkConnect, AFailedConnectIsReportedAndNothingIsLeft) {
  sim_.stop();
  EXPECT_EQ(-1, connect());
  EXPECT_THAT(log_.lines(), IsEmpty()) << "behind a closed gate";
  expect_connect_failure("connect to (" + server_name() +
                         ") failed, No such file or directory\r\n");
  EXPECT_THAT(files(), IsEmpty());
}

TEST_F(LinkConnect, AFailedReceiveTimeoutIsIgnored) {
  const ScriptedCalls calls(failing_option(SO_RCVTIMEO));
  const int fd = connect();
  EXPECT_GT(fd, 0);
  ::close(fd);
}

TEST_F(LinkConnect, AFailedSendTimeoutIsReportedPastTheGateAndNothingIsLeft) {
  const ScriptedCalls calls(failing_option(SO_SNDTIMEO));
  EXPECT_EQ(-1, connect());
  ASSERT_EQ(1u, log_.lines().size());
  const LogLine line = log_.lines().front();
  EXPECT_EQ("AAA LIB [%5d][%30.30s] setsockopt fail errno=%d error(%s).\r\n", line.format);
  expect_ungated(line, ungated_text("aaa_lib_client_connect",
                                    "setsockopt fail errno=92 error(Protocol not available).\r\n"));
  EXPECT_THAT(files(), ElementsAre(".aaa_domain_socket_fs"));
}

TEST_F(LinkConnect, BothSocketsAreOpenedFromTheirNamesAndAnOpenOneStays) {
  ASSERT_EQ(0, aaa_lib_client_connect_all());
  const std::int32_t sync_fd = g_aaa_client_cb.sync_fd;
  const std::int32_t async_fd = g_aaa_client_cb.async_fd;
  EXPECT_EQ(work_directory() + "/.aaal_socket_fs1_" + std::to_string(getpid()),
            local_name(sync_fd));
  EXPECT_EQ(work_directory() + "/.aaal_socket_fs2_" + std::to_string(getpid()),
            local_name(async_fd));
  EXPECT_TRUE(sim_.wait_for_connections(2));
  {
    const ScriptedCalls calls({.connect = unwanted()});
    EXPECT_EQ(0, aaa_lib_client_connect_all());
  }
  EXPECT_EQ(sync_fd, g_aaa_client_cb.sync_fd);
  EXPECT_EQ(async_fd, g_aaa_client_cb.async_fd);
  ::close(async_fd);
  aaa::store(g_aaa_client_cb.async_fd, 0);
  EXPECT_EQ(0, aaa_lib_client_connect_all());
  EXPECT_EQ(sync_fd, g_aaa_client_cb.sync_fd);
  EXPECT_GT(g_aaa_client_cb.async_fd, 0);
  EXPECT_TRUE(eventually([&] { return sim_.accepted_connections() == 3; })) << "the missing one";
}

TEST_F(LinkConnect, AfterAFailedRequestSocketTheEventSocketIsNotTried) {
  std::vector<bool> free;
  const ScriptedCalls calls({.connect = [&](auto&&...) {
    free.push_back(is_free(aaa_lib_lock));
    return fails(ECONNREFUSED);
  }});
  EXPECT_EQ(-1, aaa_lib_client_connect_all());
  EXPECT_THAT(free, ElementsAre(false)) << "tried once, under the library's lock";
  EXPECT_EQ(-1, g_aaa_client_cb.sync_fd);
  EXPECT_EQ(-1, g_aaa_client_cb.async_fd);
  EXPECT_TRUE(is_free(aaa_lib_lock));
}

TEST_F(LinkConnect, AfterAFailedEventSocketTheRequestSocketStaysOpen) {
  const ScriptedCalls calls({.connect = failing_at(2, ECONNREFUSED)});
  EXPECT_EQ(-1, aaa_lib_client_connect_all());
  EXPECT_GT(g_aaa_client_cb.sync_fd, 0);
  EXPECT_EQ(-1, g_aaa_client_cb.async_fd);
}

TEST_F(LinkConnect, WithoutTmpdirNeitherIsOpened) {
  unsetenv("TMPDIR");
  EXPECT_EQ(-1, aaa_lib_client_connect_all());
  EXPECT_EQ(-1, g_aaa_client_cb.sync_fd);
}

}  // namespace test::link_connect
