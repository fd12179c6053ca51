#include "output.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace aaa_dissect {
namespace {

constexpr int kMillisecondsToEnd = 2000;

// A terminal may be ready and still block, unless it is opened so that it does not. Opened again,
// it stays as it is for all others that use it.
aaa_sim::FileDescriptor terminal() {
  if (::isatty(STDOUT_FILENO) == 0) return {};
  return aaa_sim::FileDescriptor(
      ::open("/proc/self/fd/1", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

}  // namespace

Output::Output()
    : terminal_(terminal()), fd_(terminal_.is_open() ? terminal_.get() : STDOUT_FILENO) {}

// A pipe that is ready has room for PIPE_BUF bytes.
int Output::write(std::string_view text) {
  while (!text.empty()) {
    if (!wait()) return ETIMEDOUT;
    const ssize_t put =
        ::write(fd_, text.data(), std::min<std::size_t>(text.size(), std::size_t{PIPE_BUF}));
    if (put >= 0)
      text.remove_prefix(static_cast<std::size_t>(put));
    else if (errno != EAGAIN && errno != EINTR)
      return errno;
  }
  return 0;
}

// False when it takes nothing, and the end has come.
bool Output::wait() const {
  pollfd waits[] = {{fd_, POLLOUT, 0}, {end_, POLLIN, 0}};
  while (::poll(waits, 2, -1) < 0) {
  }
  if (waits[0].revents != 0) return true;
  int ready;
  while ((ready = ::poll(waits, 1, kMillisecondsToEnd)) < 0) {
  }
  return ready != 0;
}

}  // namespace aaa_dissect
