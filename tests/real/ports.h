// Free ports on the loopback interface.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "server/file_descriptor.h"

namespace real_test {

// A socket on a free port of its own. As long as it lives nobody else gets the port; nobody who
// sends to it gets an answer.
class SilentPort {
 public:
  explicit SilentPort(int type = SOCK_DGRAM) : socket_(::socket(AF_INET, type | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(::bind(socket_.get(), generic, size), 0) << std::strerror(errno);
    EXPECT_EQ(::getsockname(socket_.get(), generic, &size), 0);
    number_ = ntohs(address.sin_port);
  }

  std::uint16_t number() const { return number_; }
  std::string text() const { return std::to_string(number_); }

 private:
  aaa_sim::FileDescriptor socket_;
  std::uint16_t number_ = 0;
};

// Different ones, which were free a moment ago.
inline std::vector<std::string> free_ports(std::size_t count, int type = SOCK_DGRAM) {
  std::vector<SilentPort> held;
  std::vector<std::string> numbers;
  for (std::size_t i = 0; i < count; ++i)
    numbers.push_back(held.emplace_back(type).text());
  return numbers;
}

}  // namespace real_test
