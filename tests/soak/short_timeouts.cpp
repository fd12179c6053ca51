#include "soak/short_timeouts.h"

#include <sys/socket.h>
#include <sys/time.h>

#include "session/state/client_state.h"

namespace soak {
namespace {

// The calls below are scripted too: they must go through.
thread_local bool inside = false;

template <class Result, class Call>
std::optional<Result> let_through(Call call) {
  if (inside) return {};
  inside = true;
  const Result result = call();
  const int error = errno;
  inside = false;
  errno = error;
  return result;
}

bool waited_in_vain(int fd, ssize_t result) {
  return result < 0 && errno == EAGAIN && fd == aaa::load(g_aaa_client_cb.sync_fd);
}

}  // namespace

std::optional<int> shorten_timeout(int fd, int level, int option) {
  if (level != SOL_SOCKET || (option != SO_RCVTIMEO && option != SO_SNDTIMEO)) return {};
  const timeval timeout = {.tv_sec = 0, .tv_usec = 5000};
  return let_through<int>([&] { return setsockopt(fd, level, option, &timeout, sizeof timeout); });
}

test::Scripts let_time_pass(test::MovedClock& clock, const std::atomic<bool>& passing) {
  const auto note = [&clock, &passing](int fd, const std::optional<ssize_t>& result) {
    if (!passing || !result || !waited_in_vain(fd, *result)) return;
    clock.advance(2);
    errno = EAGAIN;
  };
  return {
      .send =
          [note](int fd, const void* data, std::size_t size, int flags) {
            const auto sent = let_through<ssize_t>([&] { return ::send(fd, data, size, flags); });
            note(fd, sent);
            return sent;
          },
      .recv =
          [note](int fd, void* data, std::size_t size, int flags) {
            const auto got = let_through<ssize_t>([&] { return ::recv(fd, data, size, flags); });
            note(fd, got);
            return got;
          },
      .setsockopt = shorten_timeout};
}

}  // namespace soak
