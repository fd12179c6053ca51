// The library's datagram pair inside the process: its numbers are kept for good, what waits in it
// belongs to one run.
#pragma once

#include <sys/types.h>

#include <cerrno>
#include <cstring>
#include <deque>

#include "fuzz/link/link_script.h"

namespace fuzz {

class LocalPair {
 public:
  static constexpr int kServer = 900;
  static constexpr int kClient = 901;

  static bool has(int fd) { return fd == kServer || fd == kClient; }

  bool is_readable(int fd) const { return fd == kServer && !waiting_.empty(); }

  ssize_t send(const void* data, std::size_t size) {
    const auto* const first = static_cast<const std::uint8_t*>(data);
    waiting_.emplace_back(first, first + size);
    return static_cast<ssize_t>(size);
  }

  ssize_t recv(void* data, std::size_t size) {
    if (waiting_.empty()) return errno = EAGAIN, -1;
    const std::size_t count = std::min(size, waiting_.front().size());
    std::memcpy(data, waiting_.front().data(), count);
    waiting_.pop_front();
    return static_cast<ssize_t>(count);
  }

 private:
  std::deque<Bytes> waiting_;
};

}  // namespace fuzz
