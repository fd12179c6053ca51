// What tests of the sockets look at: names, options, files, and what a failure leaves.
#pragma once

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "support/library_test.h"

namespace test {

class EndpointTest : public LibraryTest {
 protected:
  EndpointTest() { std::filesystem::create_directories(work_directory()); }
  void TearDown() override { aaa_lib_client_close(); }

  std::string work_directory() const { return directory() + "/security/aaa"; }

  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(work_directory()))
      names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

  static std::string local_name(int fd) { return name_of(fd, ::getsockname); }
  static std::string peer_name(int fd) { return name_of(fd, ::getpeername); }

  static void expect_type_and_close_on_exec(int fd, int expected) {
    int type = 0;
    socklen_t size = sizeof type;
    ASSERT_EQ(0, getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size));
    EXPECT_EQ(expected, type);
    EXPECT_EQ(FD_CLOEXEC, fcntl(fd, F_GETFD));
  }
  static std::string timeout(int fd, int option) {
    timeval value = {};
    socklen_t size = sizeof value;
    if (getsockopt(fd, SOL_SOCKET, option, &value, &size) != 0) return "none";
    return std::to_string(value.tv_sec) + " s " + std::to_string(value.tv_usec) + " us";
  }

  // Expects -1 and exactly one line, from that function.
  static void expect_failure(const std::function<std::int32_t()>& call, const std::string& message,
                             const std::string& function) {
    const OpenLog log;
    EXPECT_EQ(-1, call());
    EXPECT_THAT(log.messages(), ElementsAre(message));
    EXPECT_THAT(log.functions(), ElementsAre(function));
  }

 private:
  template <class Function>
  static std::string name_of(int fd, Function function) {
    sockaddr_un address = {};
    socklen_t size = sizeof address;
    function(fd, reinterpret_cast<sockaddr*>(&address), &size);
    return address.sun_path;
  }
};

}  // namespace test
