// Sockets, and the frames on them: 16 bytes of header and a body.
#pragma once

#include <sys/socket.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "aaa_client.h"

namespace bench {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::uint32_t marker = 0x01010101;
inline constexpr std::size_t header_size = sizeof(aaa_ipc_header);

Bytes frame(std::uint32_t type, std::uint32_t id, const void* body, std::size_t length);
// With a body of zeros.
Bytes blank_frame(std::uint32_t type, std::size_t length);

struct SocketPair {
  int client;
  int server;
};

// `type` is SOCK_STREAM or SOCK_DGRAM.
SocketPair make_pair(int type);

int listen_at(const std::string& path);

// All bytes. False when the peer has closed.
bool send_all(int fd, const void* data, std::size_t size);
bool receive_all(int fd, void* data, std::size_t size);

// With a timeout of five seconds that is repeated, as of a thread with periodic work.
void wait_readable(int fd);

// Calls take(header, body) for every complete frame and returns the size of all of them.
template <typename Take>
std::size_t split_frames(const std::uint8_t* bytes, std::size_t size, const Take& take) {
  std::size_t taken = 0;
  aaa_ipc_header header;
  while (size - taken >= header_size) {
    std::memcpy(&header, bytes + taken, header_size);
    if (size - taken - header_size < header.length) break;
    take(header, bytes + taken + header_size);
    taken += header_size + header.length;
  }
  return taken;
}

// Reads all that has arrived at once.
class ReadAhead {
 public:
  explicit ReadAhead(std::size_t size) : buffer_(size) {}

  // False when the peer has closed.
  template <typename Take>
  bool read(int fd, const Take& take) {
    const ssize_t received = recv(fd, buffer_.data() + kept_, buffer_.size() - kept_, 0);
    if (received <= 0) return false;
    const std::size_t size = kept_ + static_cast<std::size_t>(received);
    const std::size_t taken = split_frames(buffer_.data(), size, take);
    kept_ = size - taken;
    std::memmove(buffer_.data(), buffer_.data() + taken, kept_);
    return true;
  }

 private:
  Bytes buffer_;
  std::size_t kept_ = 0;  // bytes of an incomplete frame
};

}  // namespace bench
