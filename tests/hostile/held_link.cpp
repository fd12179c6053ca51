#include "hostile/held_link.h"

#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "aaa_client.h"
#include "hostile/golden_frames.h"

namespace test {
namespace {

constexpr int kSocketTimeoutSeconds = 2;

bool has_bytes(int fd) {
  int bytes = 0;
  return ioctl(fd, FIONREAD, &bytes) == 0 && bytes > 0;
}

// recvfrom(), which the scripts leave alone.
ssize_t read_now(int fd, void* data, std::size_t size) {
  return recvfrom(fd, data, size, MSG_DONTWAIT, nullptr, nullptr);
}

}  // namespace

HeldLink::HeldLink() : usual_welcome_{bytes_of(golden_registration()), bytes_of(golden_welcome())} {
  clock_.shorten_sleeps();
  calls_.emplace(scripts());
}

HeldLink::~HeldLink() {
  EXPECT_TRUE(peers_.empty()) << "the library has left sockets open";
  for (const auto& [own, peer] : peers_)
    ::close(peer);
}

Scripts HeldLink::scripts() {
  return {
      .send =
          [this](int fd, const void*, std::size_t, int) {
            if (fd == g_aaa_client_cb.sync_fd) write_next_piece(fd, answer_);
            return std::nullopt;
          },
      .recv = [this](int fd, void* data, std::size_t size, int) { return read(fd, data, size); },
      .socket = [this](int, int type) { return open(type); },
      .bind = [this](int fd, const sockaddr*, unsigned) -> std::optional<int> {
        if (!peers_.contains(fd)) return std::nullopt;
        return 0;
      },
      .connect = [this](int fd, const sockaddr*, unsigned) { return welcome(fd); },
      .close = [this](int fd) { return forget(fd); },
      .poll = [this](int fd, int timeout_ms) { return wait(fd, timeout_ms); },
      .pthread_create = [] { return 0; },
      .malloc = [](std::size_t size) -> std::optional<void*> {
        if (size <= kLargestBlock) return std::nullopt;
        return nullptr;
      }};
}

std::optional<int> HeldLink::open(int type) {
  if ((type & SOCK_DGRAM) == SOCK_DGRAM) return std::nullopt;
  int ends[2];
  EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
  peers_[ends[0]] = ends[1];
  return ends[0];
}

// The request socket is connected first.
std::optional<int> HeldLink::welcome(int fd) {
  if (!peers_.contains(fd)) return std::nullopt;
  if (g_aaa_client_cb.sync_fd < 0) {
    now_ = usual_welcome_;
    if (!welcomes_.empty()) {
      now_ = std::move(welcomes_.front());
      welcomes_.pop_front();
    }
    write_to(fd, now_.on_request_socket);
  } else {
    write_to(fd, now_.on_event_socket);
    pieces_.clear();  // they were for the connection before
    ++connections_;
  }
  return 0;
}

std::optional<int> HeldLink::forget(int fd) {
  const auto peer = peers_.find(fd);
  if (peer == peers_.end()) return std::nullopt;
  EXPECT_EQ(0, ::close(std::exchange(peer->second, -1)));
  peers_.erase(fd);
  return std::nullopt;
}

bool HeldLink::is_readable() {
  return has_bytes(g_aaa_client_cb.async_fd);
}

std::optional<int> HeldLink::wait(int fd, int timeout_ms) {
  if (fd != g_aaa_client_cb.async_fd || timeout_ms == 0) return std::nullopt;
  while (!is_readable() && (write_next_piece(fd, pieces_) || idle_())) {
  }
  return is_readable() ? 1 : 0;
}

std::optional<ssize_t> HeldLink::read(int fd, void* data, std::size_t size) {
  if (!peers_.contains(fd)) return std::nullopt;
  ssize_t count = read_now(fd, data, size);
  while (count < 0 && errno == EAGAIN && go_on_giving(fd))
    count = read_now(fd, data, size);
  if (count >= 0 || errno != EAGAIN) return count;
  clock_.advance(kSocketTimeoutSeconds);
  errno = EAGAIN;
  return count;
}

void HeldLink::write_to(int fd, const Bytes& bytes) {
  if (bytes.empty()) return;
  EXPECT_EQ(static_cast<ssize_t>(bytes.size()), ::write(peers_.at(fd), bytes.data(), bytes.size()));
}

bool HeldLink::write_next_piece(int fd, std::deque<Bytes>& pieces) {
  if (pieces.empty()) return false;
  write_to(fd, pieces.front());
  pieces.pop_front();
  return true;
}

// In the middle of a message. An answer begins with a write of the library's.
bool HeldLink::go_on_giving(int fd) {
  if (fd == g_aaa_client_cb.async_fd) return write_next_piece(fd, pieces_);
  return fd == g_aaa_client_cb.sync_fd && write_next_piece(fd, answer_);
}

void HeldLink::drain() {
  char scratch[4096];
  for (const auto& [own, peer] : peers_)
    while (read_now(peer, scratch, sizeof scratch) > 0) {
    }
}

}  // namespace test
