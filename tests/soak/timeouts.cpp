#include "soak/timeouts.h"

#include <sys/socket.h>
#include <sys/time.h>

#include "runtime/receive/receive_thread.h"
#include "session/state/client_state.h"

namespace soak {
namespace {

std::optional<int> shorten_timeout(int fd, int level, int option) {
  if (level != SOL_SOCKET || (option != SO_RCVTIMEO && option != SO_SNDTIMEO)) return {};
  const timeval timeout = {.tv_sec = 0, .tv_usec = 5000};
  const test::UnscriptedCalls scope;
  return ::setsockopt(fd, level, option, &timeout, sizeof timeout);
}

}  // namespace

test::Scripts let_time_pass(test::MovedClock& clock, std::function<bool()> passes) {
  const auto timed = [&clock, passes](int fd, auto call) -> std::optional<ssize_t> {
    const test::UnscriptedCalls scope;
    const ssize_t result = call();
    if (result < 0 && errno == EAGAIN && passes() && fd == aaa::load(g_aaa_client_cb.sync_fd)) {
      clock.advance(2);
      errno = EAGAIN;
    }
    return result;
  };
  return {.send =
              [timed](int fd, const void* data, std::size_t size, int flags) {
                return timed(fd, [=] { return ::send(fd, data, size, flags); });
              },
          .recv =
              [timed](int fd, void* data, std::size_t size, int flags) {
                return timed(fd, [=] { return ::recv(fd, data, size, flags); });
              },
          .setsockopt = shorten_timeout};
}

ReceiveThreadWatch::ReceiveThreadWatch()
    : calls_({.recv = [this](int, void*, std::size_t, int) -> std::optional<ssize_t> {
                if (aaa::is_receive_thread()) note_recv();
                return {};
              },
              .setsockopt = shorten_timeout,
              .poll = [this](int, int timeout_ms) -> std::optional<int> {
                if (!aaa::is_receive_thread() || timeout_ms <= 0) return {};
                reads_ = 0;
                idle_ = true;
                return {};
              }}) {}

void ReceiveThreadWatch::note_recv() {
  idle_ = false;
  ++(aaa::reg_state() == AAA_REG_REGISTERED ? reads_ : registering_reads_);
}

bool ReceiveThreadWatch::is_idle() const {
  return test::eventually([this] { return idle_.load(); });
}

// It reads only when something has come: the first read takes that.
bool ReceiveThreadWatch::waits_for_the_rest() const {
  return test::eventually([this] { return reads_ > 1; });
}

bool ReceiveThreadWatch::registers_after(int registering_reads) const {
  return test::eventually([&] { return registering_reads_ > registering_reads; });
}

}  // namespace soak
