#include "tools/raw_client.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace aaa_sim_test {
namespace {

constexpr std::chrono::milliseconds kTimeout{5000};

}  // namespace

RawConnection::RawConnection(const std::string& path)
    : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const auto* generic = reinterpret_cast<const sockaddr*>(&address);
  EXPECT_EQ(::connect(socket_.get(), generic, sizeof address), 0) << path;
}

void RawConnection::send(const std::string& bytes) {
  EXPECT_TRUE(try_send(bytes));
}

bool RawConnection::try_send(const std::string& bytes) {
  return ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
         static_cast<ssize_t>(bytes.size());
}

std::string RawConnection::receive(std::size_t size) {
  std::string bytes = zeros(size);
  std::size_t used = 0;
  while (used < size && wait_readable(kTimeout)) {
    const ssize_t got = ::recv(socket_.get(), bytes.data() + used, size - used, 0);
    if (got <= 0) break;
    used += static_cast<std::size_t>(got);
  }
  bytes.resize(used);
  return bytes;
}

std::string RawConnection::receive_message() {
  const std::string header = receive(16);
  if (header.size() != 16) return "";
  const std::size_t length = word_at(header, 12);
  const std::string body = receive(length);
  return body.size() == length ? header + body : "";
}

std::size_t RawConnection::available() const {
  int bytes = 0;
  EXPECT_EQ(::ioctl(socket_.get(), FIONREAD, &bytes), 0);
  return static_cast<std::size_t>(bytes);
}

bool RawConnection::stays_silent(std::chrono::milliseconds duration) {
  return !wait_readable(duration);
}

bool RawConnection::is_closed_by_peer() {
  while (wait_readable(kTimeout)) {
    char chunk[256];
    if (::recv(socket_.get(), chunk, sizeof chunk, 0) <= 0) return true;
  }
  return false;
}

bool RawConnection::wait_readable(std::chrono::milliseconds timeout) {
  pollfd wait{socket_.get(), POLLIN, 0};
  return ::poll(&wait, 1, static_cast<int>(timeout.count())) == 1;
}

std::string register_request(const std::string& model) {
  return message_bytes(AAA_MSG_REGISTER_REQ, "1" + model + zeros(1));
}

std::string register_event(const std::string& model) {
  return message_bytes(AAA_MSG_REGISTER_REQ, "2" + model + zeros(1));
}

RawClient::RawClient(const std::string& path, const std::string& model)
    : request(path), event(path) {
  request.send(register_request(model));
  EXPECT_EQ(request.receive_message().size(), 20u) << "no register response";
  event.send(register_event(model));
  EXPECT_EQ(event.receive_message().size(), 56u) << "no status words";
}

}  // namespace aaa_sim_test
