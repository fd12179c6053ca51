// The pair of datagram sockets inside the process.
#include "runtime/send/local_delivery.h"

#include "support/fresh_message_sockets.h"
#include "transport/base/descriptors.h"
#include "transport/endpoint_test.h"

namespace test::message_endpoints {

class MessageEndpoints : public EndpointTest {
 protected:
  std::string server_name() const {
    return work_directory() + "/lib_server" + std::to_string(getpid());
  }
  std::string client_name() const {
    return work_directory() + "/lib_client" + std::to_string(getpid());
  }
  // That many characters, below which the work directory exists.
  std::string tmpdir(std::size_t length) const {
    const std::string path = directory() + "/" + std::string(length - directory().size() - 1, 'x');
    std::filesystem::create_directories(path + "/security/aaa");
    return path;
  }

  // A failure with its line, after which no file and no descriptor is left and a later call may
  // succeed.
  void expect_clean_failure(Scripts scripts, const std::string& message) {
    {
      const ScriptedCalls calls(std::move(scripts));
      expect_failure(aaa_lib_msg_socket_init, message, "aaa_lib_msg_socket_init");
    }
    EXPECT_FALSE(fresh_.made());
    EXPECT_THAT(files(), IsEmpty());
    EXPECT_EQ(open_before_, open_descriptors());
    EXPECT_EQ(0, aaa_lib_msg_socket_init());
  }

  FreshMessageSockets fresh_;

 private:
  std::size_t open_before_ = open_descriptors();
};

TEST_F(MessageEndpoints, TheClientSocketIsConnectedToTheServerSocket) {
  const OpenLog log;
  EXPECT_FALSE(fresh_.made());
  ASSERT_EQ(0, aaa_lib_msg_socket_init());
  EXPECT_TRUE(fresh_.made());
  EXPECT_EQ(server_name(), local_name(lib_msg_server_fd));
  EXPECT_EQ(client_name(), local_name(lib_msg_client_fd));
  EXPECT_EQ(server_name(), peer_name(lib_msg_client_fd));
  ASSERT_EQ(3, ::write(lib_msg_client_fd, "abc", 3));
  char bytes[8] = {};
  EXPECT_EQ(3, ::read(lib_msg_server_fd, bytes, sizeof bytes));
  EXPECT_STREQ("abc", bytes);
  EXPECT_THAT(files(), IsEmpty());
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(MessageEndpoints, AreDatagramSocketsOfWhichOnlySendsOfTheClientsTimeOut) {
  ASSERT_EQ(0, aaa_lib_msg_socket_init());
  expect_type_and_close_on_exec(lib_msg_server_fd, SOCK_DGRAM);
  expect_type_and_close_on_exec(lib_msg_client_fd, SOCK_DGRAM);
  EXPECT_EQ("2 s 0 us", timeout(lib_msg_client_fd, SO_SNDTIMEO));
  EXPECT_EQ("0 s 0 us", timeout(lib_msg_client_fd, SO_RCVTIMEO));
  EXPECT_EQ("0 s 0 us", timeout(lib_msg_server_fd, SO_SNDTIMEO));
  EXPECT_EQ("0 s 0 us", timeout(lib_msg_server_fd, SO_RCVTIMEO));
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

TEST_F(MessageEndpoints, AddressesHaveTheirFullSize) {
  std::vector<unsigned> lengths;
  const auto note = [&](int, const sockaddr*, unsigned length) -> std::optional<int> {
    lengths.push_back(length);
    return std::nullopt;
  };
  const ScriptedCalls calls({.bind = note, .connect = note});
  ASSERT_EQ(0, aaa_lib_msg_socket_init());
  EXPECT_THAT(lengths, ElementsAre(110, 110, 110));
}

TEST_F(MessageEndpoints, StaleFilesDoNotMatter) {
  std::ofstream(server_name()) << "stale";
  std::ofstream(client_name()) << "stale";
  EXPECT_EQ(0, aaa_lib_msg_socket_init());
  EXPECT_THAT(files(), IsEmpty());
}

TEST_F(MessageEndpoints, AreMadeOnce) {
  ASSERT_EQ(0, aaa_lib_msg_socket_init());
  const std::int32_t server = lib_msg_server_fd;
  const std::int32_t client = lib_msg_client_fd;
  const ScriptedCalls calls({.socket = unwanted()});
  EXPECT_EQ(0, aaa_lib_msg_socket_init());
  EXPECT_EQ(server, lib_msg_server_fd);
  EXPECT_EQ(client, lib_msg_client_fd);
}

TEST_F(MessageEndpoints, EachFailedCallIsReported) {
  const std::pair<Scripts, std::string> calls_and_lines[] = {
      {{.socket = failing_at(1, EMFILE)}, "create socket(message server fd) failed, err(24)\r\n"},
      {{.bind = failing_at(1, EACCES)}, "domain socket bind (" + server_name() + ") failed\r\n"},
      {{.socket = failing_at(2, ENFILE)}, "create socket(msg client fd) failed, err(23)\r\n"},
      {{.bind = failing_at(2, EACCES)}, "domain socket bind (" + client_name() + ") failed\r\n"},
      {{.connect = failing_at(1, ECONNREFUSED)}, "domain socket connect failed, err(111)\r\n"},
      {{.setsockopt = failing_at(1, ENOPROTOOPT)}, "lib_msg_client_fd connect failed, err(92)\r\n"},
  };
  for (const auto& [scripts, line] : calls_and_lines) {
    SCOPED_TRACE(line);
    const FreshMessageSockets fresh;
    expect_clean_failure(scripts, line);
  }
}

TEST_F(MessageEndpoints, NeedPathsBelow100Bytes) {
  const OpenLog log;
  setenv("TMPDIR", tmpdir(76).c_str(), 1);
  EXPECT_EQ(-1, aaa_lib_msg_socket_init());
  setenv("TMPDIR", std::string(90, 'x').c_str(), 1);
  EXPECT_EQ(-1, aaa_lib_msg_socket_init());
  EXPECT_FALSE(fresh_.made());
  EXPECT_THAT(log.lines(), IsEmpty());
  setenv("TMPDIR", tmpdir(75).c_str(), 1);
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

}  // namespace test::message_endpoints
