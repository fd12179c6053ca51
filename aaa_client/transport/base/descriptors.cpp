#include "transport/base/descriptors.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
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

bool limit_waits(std::int32_t fd, int option) {
  const timeval two_seconds = {.tv_sec = 2, .tv_usec = 0};
  return setsockopt(fd, SOL_SOCKET, option, &two_seconds, sizeof two_seconds) == 0;
}

int wait_readable(int fd, int timeout_ms) {
  if (fd < 0) {
    errno = EBADF;
    return -1;
  }
  pollfd watched = {.fd = fd, .events = POLLIN, .revents = 0};
  const int ready = poll(&watched, 1, timeout_ms);
  if (ready > 0 && (watched.revents & POLLNVAL) != 0) {
    errno = EBADF;
    return -1;
  }
  return ready;
}

}  // namespace aaa
