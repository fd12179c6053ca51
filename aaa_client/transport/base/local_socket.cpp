#include "transport/base/local_socket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace aaa {

std::int32_t open_local_socket(int type) {
  const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
  if (fd != 0) return fd;
  const int above = fcntl(fd, F_DUPFD_CLOEXEC, 1);
  const int error = errno;
  close(fd);
  errno = error;
  return above;
}

}  // namespace aaa
