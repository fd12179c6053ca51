// Descriptors: opening a local socket, its address, its time limits, waiting for input, and marks
// on the number in a field.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "transport/base/atomic_word.h"

namespace aaa {

// Opens an AF_UNIX socket of a type, close-on-exec. Returns its descriptor, or -1 with errno set.
// Never 0, which means not open and is what a process without standard input would get.
std::int32_t open_local_socket(int type);

class UnixAddress {
 public:
  // A path that does not fit is truncated and terminated.
  explicit UnixAddress(const char* path) {
    address_.sun_family = AF_UNIX;
    length_ = strnlen(path, sizeof address_.sun_path - 1);
    std::memcpy(address_.sun_path, path, length_);
  }

  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address_); }

  // The size of the whole address, and of the address up to the end of its path.
  static constexpr socklen_t full_length() { return sizeof(sockaddr_un); }
  socklen_t length_of_path() const {
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length_);
  }

 private:
  sockaddr_un address_ = {};
  std::size_t length_ = 0;
};

// Limits each wait of a socket for SO_SNDTIMEO or SO_RCVTIMEO to 2 seconds. False with errno set.
bool limit_waits(std::int32_t fd, int option);

// As select() for reading on one descriptor, for descriptors of any value: 1 when it is readable
// (data, end of stream or an error to fetch), 0 after `timeout_ms`, -1 with errno set otherwise
// (EINTR, EBADF for a descriptor that is not open). A cancellation point.
int wait_readable(int fd, int timeout_ms);

// A mark on the descriptor number in a field. It is valid until the field has been seen with
// another value.
class NumberMark {
 public:
  // Marks the number in `field`.
  void set(const std::int32_t& field) { store(number_, load(field)); }
  void clear() { store(number_, none); }

  bool is_on(const std::int32_t& field) {
    std::int32_t number = load(number_);
    if (number == none) return false;
    if (number == load(field)) return true;
    // A mark that another thread has set meanwhile stays.
    std::atomic_ref(number_).compare_exchange_strong(number, none, std::memory_order_relaxed);
    return false;
  }

 private:
  static constexpr std::int32_t none = -1;
  std::int32_t number_ = none;
};

}  // namespace aaa
