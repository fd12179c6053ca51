#include "soak/receive_thread_watch.h"

#include "runtime/receive/receive_thread.h"
#include "session/state/client_state.h"
#include "soak/short_timeouts.h"
#include "support/eventually.h"

namespace soak {
ReceiveThreadWatch::ReceiveThreadWatch()
    : calls_({.recv = [this](int, void*, std::size_t, int) -> std::optional<ssize_t> {
                if (aaa::is_receive_thread()) note_recv();
                return {};
              },
              .setsockopt = shorten_timeout,
              .poll = [this](int, int timeout_ms) -> std::optional<int> {
                if (aaa::is_receive_thread() && timeout_ms > 0) note_idle();
                return {};
              }}) {}

void ReceiveThreadWatch::note_idle() {
  reads_ = 0;
  idle_ = true;
}

void ReceiveThreadWatch::note_recv() {
  idle_ = false;
  if (aaa::reg_state() == AAA_REG_REGISTERED)
    ++reads_;
  else
    ++registering_reads_;
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
