#include "tools/raw_client.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>

namespace aaa_sim_test {
namespace {

constexpr std::chrono::milliseconds kTimeout{5000};

}  // namespace

Bytes hex(std::string_view digits) {
  std::string dense(digits);
  std::erase(dense, ' ');
  Bytes bytes;
  for (std::size_t at = 0; at < dense.size(); at += 2)
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(dense.substr(at, 2), nullptr, 16)));
  return bytes;
}

Bytes text(std::string_view characters) {
  return Bytes(characters.begin(), characters.end());
}

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

Bytes framed(std::uint8_t type, const Bytes& body, std::uint8_t id) {
  const auto low = static_cast<std::uint8_t>(body.size());
  const auto high = static_cast<std::uint8_t>(body.size() >> 8);
  return Bytes{1, 1, 1, 1, id, 0, 0, 0, type, 0, 0, 0, low, high, 0, 0} + body;
}

std::uint32_t word_at(const Bytes& bytes, std::size_t offset) {
  std::uint32_t word = 0;
  EXPECT_LE(offset + sizeof word, bytes.size());
  if (offset + sizeof word <= bytes.size()) std::memcpy(&word, bytes.data() + offset, sizeof word);
  return word;
}

RawConnection::RawConnection(const std::string& path)
    : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const auto* generic = reinterpret_cast<const sockaddr*>(&address);
  EXPECT_EQ(::connect(socket_.get(), generic, sizeof address), 0) << path;
}

void RawConnection::send(const Bytes& bytes) {
  EXPECT_EQ(::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
            static_cast<ssize_t>(bytes.size()));
}

Bytes RawConnection::receive(std::size_t size) {
  Bytes bytes(size);
  std::size_t used = 0;
  while (used < size && wait_readable(kTimeout)) {
    const ssize_t got = ::recv(socket_.get(), bytes.data() + used, size - used, 0);
    if (got <= 0) break;
    used += static_cast<std::size_t>(got);
  }
  bytes.resize(used);
  return bytes;
}

Bytes RawConnection::receive_message() {
  Bytes header = receive(16);
  if (header.size() != 16) return {};
  const std::size_t length = word_at(header, 12);
  const Bytes body = receive(length);
  return body.size() == length ? std::move(header) + body : Bytes{};
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

Bytes register_request(std::string_view model) {
  return framed(0, text("1") + text(model) + hex("00"));
}

Bytes register_event(std::string_view model) {
  return framed(0, text("2") + text(model) + hex("00"));
}

RawClient::RawClient(const std::string& path, std::string_view model) : request(path), event(path) {
  request.send(register_request(model));
  EXPECT_EQ(request.receive_message().size(), 20u) << "no register response";
  event.send(register_event(model));
  EXPECT_EQ(event.receive_message().size(), 56u) << "no status words";
}

}  // namespace aaa_sim_test
