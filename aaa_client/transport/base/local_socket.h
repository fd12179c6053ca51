// Local sockets: opening one, and addresses.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace aaa {

// Opens an AF_UNIX socket of a type, close-on-exec. Returns its descriptor, or -1 with errno set.
// Never 0, which counts as not open: a host process without standard input would otherwise get it.
std::int32_t open_local_socket(int type);

class UnixAddress {
 public:
  // A path that does not fit is cut and stays terminated.
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

}  // namespace aaa
