#include "soak/receive_thread_watch.h"

#include <sys/socket.h>
#include <sys/time.h>

#include "runtime/receive_thread.h"
#include "session/client_state.h"
#include "support/eventually.h"

namespace soak {
namespace {

// The setsockopt() below is scripted too: it must go through.
thread_local bool inside = false;

std::optional<int> shorten_timeout(int fd, int level, int option) {
  if (inside || level != SOL_SOCKET || (option != SO_RCVTIMEO && option != SO_SNDTIMEO)) return {};
  inside = true;
  const timeval timeout = {.tv_sec = 0, .tv_usec = 5000};
  const int result = setsockopt(fd, level, option, &timeout, sizeof timeout);
  inside = false;
  return result;
}

}  // namespace

ReceiveThreadWatch::ReceiveThreadWatch()
    : calls_({.recv = [this](int, void*, std::size_t size, int) -> std::optional<ssize_t> {
                if (aaa::is_receive_thread()) note_recv(size);
                return {};
              },
              .setsockopt = shorten_timeout,
              .poll = [this](int, int timeout_ms) -> std::optional<int> {
                if (aaa::is_receive_thread() && timeout_ms > 0) call_ = idle;
                return {};
              }}) {}

void ReceiveThreadWatch::note_recv(std::size_t size) {
  if (aaa::reg_state() == AAA_REG_REGISTERED) {
    call_ = static_cast<int>(size);
  } else {
    ++registering_reads_;
  }
}

bool ReceiveThreadWatch::is_idle() const {
  return test::eventually([this] { return call_ == idle; });
}

bool ReceiveThreadWatch::waits_for_bytes(std::size_t bytes) const {
  return test::eventually([&] { return call_ == static_cast<int>(bytes); });
}

bool ReceiveThreadWatch::registers_after(int registering_reads) const {
  return test::eventually([&] { return registering_reads_ > registering_reads; });
}

}  // namespace soak
