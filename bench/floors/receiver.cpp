#include "floors/receiver.h"

#include <sys/socket.h>

#include <cstdlib>
#include <cstring>
#include <thread>

#include "support/frames.h"
#include "support/sockets.h"

namespace bench {
namespace {

// Returns the bytes of the whole messages.
std::size_t take_messages(const std::uint8_t* bytes, std::size_t size, const TakeBody& take) {
  std::size_t taken = 0;
  aaa_ipc_header header;
  while (size - taken >= header_size) {
    std::memcpy(&header, bytes + taken, header_size);
    if (size - taken - header_size < header.length) break;
    take(bytes + taken + header_size, header.length);
    taken += header_size + header.length;
  }
  return taken;
}

}  // namespace

void receive_in_two_reads(int fd, const TakeBody& take) {
  aaa_ipc_header header;
  while (true) {
    wait_readable(fd);
    if (!receive_all(fd, &header, sizeof header)) return;
    auto* const body = static_cast<std::uint8_t*>(std::malloc(header.length + 1));
    if (!receive_all(fd, body, header.length)) return;
    take(body, header.length);
    std::free(body);
  }
}

void receive_ahead(int fd, const TakeBody& take) {
  Bytes buffer(1 << 16);
  std::size_t kept = 0;
  while (true) {
    wait_readable(fd);
    const ssize_t received = recv(fd, buffer.data() + kept, buffer.size() - kept, 0);
    if (received <= 0) return;
    const std::size_t size = kept + static_cast<std::size_t>(received);
    const std::size_t taken = take_messages(buffer.data(), size, take);
    kept = size - taken;
    std::memmove(buffer.data(), buffer.data() + taken, kept);
  }
}

void start_receiver(int fd, std::size_t reads, const TakeBody& take) {
  const auto receive = reads == 1 ? receive_ahead : receive_in_two_reads;
  std::thread(receive, fd, take).detach();
}

}  // namespace bench
