// A peer whose bytes the test scripts: the library has one end of a connected pair of stream
// sockets, the test plays aaad on the other.
#pragma once

#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "support/bytes.h"

namespace test {

class ScriptedPeer {
 public:
  ScriptedPeer() { EXPECT_TRUE(open()); }
  ~ScriptedPeer() {
    request();
    close();
  }
  ScriptedPeer(const ScriptedPeer&) = delete;
  ScriptedPeer& operator=(const ScriptedPeer&) = delete;

  bool open() { return ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds_) == 0; }
  void close() {
    close_own();
    close_peer();
  }
  // The library's end, and the peer's.
  int own() const { return fds_[0]; }
  int peer() const { return fds_[1]; }
  void close_own() { close_one(fds_[0]); }
  void close_peer() { close_one(fds_[1]); }

  void peer_writes(const std::string& bytes) const {
    std::size_t written = 0;
    while (written < bytes.size()) {
      const ssize_t n = ::write(fds_[1], bytes.data() + written, bytes.size() - written);
      if (n <= 0) return;
      written += static_cast<std::size_t>(n);
    }
  }

  // Waits for that many bytes; fewer when the library's end is closed.
  std::string peer_reads(std::size_t size) const {
    std::string bytes(size, '\0');
    std::size_t read = 0;
    while (read < size) {
      const ssize_t n = ::read(fds_[1], bytes.data() + read, size - read);
      if (n <= 0) break;
      read += static_cast<std::size_t>(n);
    }
    bytes.resize(read);
    return bytes;
  }
  std::string peer_reads_message() const {
    const std::string header = peer_reads(16);
    return header.size() < 16 ? header : header + peer_reads(word_at(header, 12));
  }
  // All that has arrived.
  std::string peer_reads() const { return peer_reads(waiting_for_peer()); }

  // Reads one message on a thread of its own, and answers it.
  void answers(const std::string& answer) {
    request();
    thread_ = std::thread([this, answer] {
      request_ = peer_reads_message();
      peer_writes(answer);
    });
  }
  // The message that was answered.
  std::string request() {
    if (thread_.joinable()) thread_.join();
    return request_;
  }

  // Bytes that have arrived and nobody has read.
  std::size_t waiting_for_peer() const { return waiting(fds_[1]); }
  std::size_t waiting_for_library() const { return waiting(fds_[0]); }

 private:
  static std::size_t waiting(int fd) {
    int bytes = 0;
    return ::ioctl(fd, FIONREAD, &bytes) == 0 ? static_cast<std::size_t>(bytes) : 0;
  }
  static void close_one(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
  }

  int fds_[2] = {-1, -1};
  std::thread thread_;
  std::string request_;
};

}  // namespace test
