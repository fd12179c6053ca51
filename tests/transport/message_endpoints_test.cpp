// The pair of datagram sockets inside the process.
#include <fstream>

#include "support/fresh_message_sockets.h"
#include "transport/base/descriptors.h"
#include "transport/endpoint_test.h"

namespace {
using test::fails;
using test::ScriptedCalls;

constexpr char kFunction[] = "aaa_lib_msg_socket_init";

class MessageEndpoints : public test::EndpointTest {
 protected:
  void SetUp() override {
    fresh_.emplace();
    EndpointTest::SetUp();
    open_before_ = test::open_descriptors();
  }
  void TearDown() override {
    fresh_.reset();
    EndpointTest::TearDown();
  }

  std::string server_name() const {
    return work_directory() + "/lib_server" + std::to_string(getpid());
  }
  std::string client_name() const {
    return work_directory() + "/lib_client" + std::to_string(getpid());
  }

  // A failure with its line, after which no file and no descriptor is left and a later call may
  // succeed.
  void expect_clean_failure(test::Scripts scripts, const std::string& message) {
    {
      const ScriptedCalls calls(std::move(scripts));
      expect_failure(aaa_lib_msg_socket_init, message, kFunction);
    }
    EXPECT_FALSE(fresh_->made());
    EXPECT_THAT(files(), testing::IsEmpty());
    EXPECT_EQ(open_before_, test::open_descriptors());
    EXPECT_EQ(0, aaa_lib_msg_socket_init());
  }

  // A call that fails with `error` at its n-th use.
  static std::function<std::optional<int>()> failing_at(int n, int error) {
    return [n, error, uses = 0]() mutable -> std::optional<int> {
      if (++uses == n) return fails(error);
      return std::nullopt;
    };
  }

  std::optional<test::FreshMessageSockets> fresh_;

 private:
  std::size_t open_before_ = 0;
};

TEST_F(MessageEndpoints, TheClientSocketIsConnectedToTheServerSocket) {
  ASSERT_EQ(0, aaa_lib_msg_socket_init());
  EXPECT_EQ(server_name(), local_name(lib_msg_server_fd));
  EXPECT_EQ(client_name(), local_name(lib_msg_client_fd));
  EXPECT_EQ(server_name(), peer_name(lib_msg_client_fd));
  ASSERT_EQ(3, ::write(lib_msg_client_fd, "abc", 3));
  char bytes[8] = {};
  EXPECT_EQ(3, ::read(lib_msg_server_fd, bytes, sizeof bytes));
  EXPECT_STREQ("abc", bytes);
}

TEST_F(MessageEndpoints, AreDatagramSocketsThatAreClosedOnExec) {
  ASSERT_EQ(0, aaa_lib_msg_socket_init());
  for (const int fd : {lib_msg_server_fd, lib_msg_client_fd}) {
    int type = 0;
    socklen_t size = sizeof type;
    ASSERT_EQ(0, getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size));
    EXPECT_EQ(SOCK_DGRAM, type);
    EXPECT_EQ(FD_CLOEXEC, fcntl(fd, F_GETFD));
  }
}

// Below 1 a descriptor counts as not open.
TEST_F(MessageEndpoints, AreNeverDescriptor0) {
  const int standard_input = dup(0);
  ASSERT_GT(standard_input, 0);
  ::close(0);
  EXPECT_EQ(0, aaa_lib_msg_socket_init());
  const int stream = aaa::open_local_socket(SOCK_STREAM);
  dup2(standard_input, 0);
  ::close(standard_input);
  EXPECT_GT(lib_msg_server_fd, 0);
  EXPECT_GT(lib_msg_client_fd, 0);
  EXPECT_GT(stream, 0);
  EXPECT_EQ(FD_CLOEXEC, fcntl(stream, F_GETFD));
  ::close(stream);
}

TEST_F(MessageEndpoints, OnlySendsOfTheClientSocketTimeOut) {
  ASSERT_EQ(0, aaa_lib_msg_socket_init());
  EXPECT_EQ("2 s 0 us", timeout(lib_msg_client_fd, SO_SNDTIMEO));
  EXPECT_EQ("0 s 0 us", timeout(lib_msg_client_fd, SO_RCVTIMEO));
  EXPECT_EQ("0 s 0 us", timeout(lib_msg_server_fd, SO_SNDTIMEO));
  EXPECT_EQ("0 s 0 us", timeout(lib_msg_server_fd, SO_RCVTIMEO));
}

TEST_F(MessageEndpoints, AddressesHaveTheirFullSize) {
  std::vector<unsigned> lengths;
  const auto note = [&](int, const sockaddr*, unsigned length) -> std::optional<int> {
    lengths.push_back(length);
    return std::nullopt;
  };
  const ScriptedCalls calls({.bind = note, .connect = note});
  ASSERT_EQ(0, aaa_lib_msg_socket_init());
  EXPECT_THAT(lengths, testing::ElementsAre(110, 110, 110));
}

TEST_F(MessageEndpoints, LeaveNoFileBehind) {
  ASSERT_EQ(0, aaa_lib_msg_socket_init());
  EXPECT_THAT(files(), testing::IsEmpty());
}

TEST_F(MessageEndpoints, StaleFilesDoNotMatter) {
  std::ofstream(server_name()) << "stale";
  std::ofstream(client_name()) << "stale";
  EXPECT_EQ(0, aaa_lib_msg_socket_init());
  EXPECT_THAT(files(), testing::IsEmpty());
}

TEST_F(MessageEndpoints, AreMadeOnce) {
  ASSERT_EQ(0, aaa_lib_msg_socket_init());
  const std::int32_t server = lib_msg_server_fd;
  const std::int32_t client = lib_msg_client_fd;
  const ScriptedCalls calls({.socket = [](int, int) { return ADD_FAILURE(), fails(EIO); }});
  EXPECT_EQ(0, aaa_lib_msg_socket_init());
  EXPECT_EQ(server, lib_msg_server_fd);
  EXPECT_EQ(client, lib_msg_client_fd);
}

TEST_F(MessageEndpoints, AreReadyOnlyOnceMade) {
  EXPECT_FALSE(fresh_->made());
  ASSERT_EQ(0, aaa_lib_msg_socket_init());
  EXPECT_TRUE(fresh_->made());
}

TEST_F(MessageEndpoints, WriteNoLineWhenAllIsWell) {
  const test::OpenGate gate;
  const test::LogCapture log;
  ASSERT_EQ(0, aaa_lib_msg_socket_init());
  EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(MessageEndpoints, AFailedServerSocketIsReported) {
  const auto socket = failing_at(1, EMFILE);
  expect_clean_failure({.socket = [socket](int, int) { return socket(); }},
                       "create socket(message server fd) failed, err(24)\r\n");
}

TEST_F(MessageEndpoints, AFailedBindOfTheServerIsReported) {
  const auto bind = failing_at(1, EACCES);
  expect_clean_failure({.bind = [bind](int, const sockaddr*, unsigned) { return bind(); }},
                       "domain socket bind (" + server_name() + ") failed\r\n");
}

TEST_F(MessageEndpoints, AFailedClientSocketIsReported) {
  const auto socket = failing_at(2, ENFILE);
  expect_clean_failure({.socket = [socket](int, int) { return socket(); }},
                       "create socket(msg client fd) failed, err(23)\r\n");
}

TEST_F(MessageEndpoints, AFailedBindOfTheClientIsReported) {
  const auto bind = failing_at(2, EACCES);
  expect_clean_failure({.bind = [bind](int, const sockaddr*, unsigned) { return bind(); }},
                       "domain socket bind (" + client_name() + ") failed\r\n");
}

TEST_F(MessageEndpoints, AFailedConnectIsReported) {
  const auto connect = failing_at(1, ECONNREFUSED);
  expect_clean_failure({.connect = [connect](int, const sockaddr*, unsigned) { return connect(); }},
                       "domain socket connect failed, err(111)\r\n");
}

TEST_F(MessageEndpoints, AFailedOptionIsReportedAsAFailedConnect) {
  const auto setsockopt = failing_at(1, ENOPROTOOPT);
  expect_clean_failure({.setsockopt = [setsockopt](int, int, int) { return setsockopt(); }},
                       "lib_msg_client_fd connect failed, err(92)\r\n");
}

TEST_F(MessageEndpoints, NeedPathsBelow100Bytes) {
  const std::string longest = directory() + "/" + std::string(74 - directory().size(), 'x');
  std::filesystem::create_directories(longest + "/security/aaa");
  std::filesystem::create_directories(longest + "x/security/aaa");
  const test::OpenGate gate;
  const test::LogCapture log;
  setenv("TMPDIR", (longest + "x").c_str(), 1);
  EXPECT_EQ(-1, aaa_lib_msg_socket_init());
  EXPECT_FALSE(fresh_->made());
  EXPECT_THAT(log.lines(), testing::IsEmpty());
  setenv("TMPDIR", longest.c_str(), 1);
  EXPECT_EQ(0, aaa_lib_msg_socket_init());
}

TEST_F(MessageEndpoints, AreNotMadeBelowATmpdirOf90Characters) {
  setenv("TMPDIR", std::string(90, 'x').c_str(), 1);
  EXPECT_EQ(-1, aaa_lib_msg_socket_init());
  setenv("TMPDIR", directory().c_str(), 1);
  EXPECT_EQ(0, aaa_lib_msg_socket_init());
}

TEST_F(MessageEndpoints, WithoutTmpdirTheServerSocketIsLeftOpenUntilTheNextCall) {
  unsetenv("TMPDIR");
  EXPECT_EQ(-1, aaa_lib_msg_socket_init());
  EXPECT_GE(fcntl(lib_msg_server_fd, F_GETFD), 0);
  EXPECT_EQ(-1, lib_msg_client_fd);
  setenv("TMPDIR", directory().c_str(), 1);
  EXPECT_EQ(0, aaa_lib_msg_socket_init());
}

}  // namespace
