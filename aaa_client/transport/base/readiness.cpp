#include "transport/base/readiness.h"

#include <poll.h>

#include <cerrno>

namespace aaa {

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
