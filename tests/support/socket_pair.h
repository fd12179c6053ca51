// A connected pair of stream sockets: the library's end, and the end that a test plays aaad on.
#pragma once

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace test {

class SocketPair {
 public:
  SocketPair() = default;
  ~SocketPair() { close(); }
  SocketPair(const SocketPair&) = delete;
  SocketPair& operator=(const SocketPair&) = delete;

  bool open() { return ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds_) == 0; }
  void close() {
    close_own();
    close_peer();
  }
  void close_own() { close_one(fds_[0]); }
  void close_peer() { close_one(fds_[1]); }

  int own() const { return fds_[0]; }
  int peer() const { return fds_[1]; }

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
};

// 32-bit words as they stand in a message.
inline std::string word_bytes(std::uint32_t word) {
  return {reinterpret_cast<const char*>(&word), sizeof word};
}
inline std::uint32_t word_at(const std::string& bytes, std::size_t offset) {
  std::uint32_t word = 0;
  std::memcpy(&word, bytes.substr(offset, sizeof word).data(), sizeof word);
  return word;
}

// A message as aaad writes it.
inline std::string message_bytes(std::uint32_t type, const std::string& body,
                                 std::uint32_t marker = 0x01010101) {
  return word_bytes(marker) + word_bytes(0) + word_bytes(type) +
         word_bytes(static_cast<std::uint32_t>(body.size())) + body;
}

}  // namespace test
