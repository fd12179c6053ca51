// Registering again, by the receive thread.
#include <unistd.h>

#include "aaa_client.h"
#include "runtime/receive_thread.h"
#include "session/client_state.h"
#include "session/link.h"
#include "session/locks.h"
#include "transport/cancellation.h"
#include "transport/debug_log.h"

namespace aaa {
namespace {

constexpr unsigned retry_seconds = 2;

enum class Attempt { registered, failed, deregistered };

// One attempt under the lock, so that it cannot cross a deregistration.
Attempt attempt() {
  const ScopedLock lock(aaa_lib_lock);
  if (!is_receive_thread() || is_deregistered()) return Attempt::deregistered;
  if (aaalib_connect_and_register_to_aaad() == 0) return Attempt::registered;
  aaa_lib_client_close();
  set_reg_state(AAA_REG_LOST);
  return is_deregistered() ? Attempt::deregistered : Attempt::failed;
}

void pause() {
  const CancellationScope cancellable(PTHREAD_CANCEL_ENABLE);
  sleep(retry_seconds);
}

void feed(std::uint32_t* stamp) {
  if (stamp != nullptr) aaa_check_reset_ham_client_notify(stamp);
}

// Returns false when the client deregistered meanwhile.
bool retry_until_registered(std::uint32_t* stamp) {
  for (;;) {
    feed(stamp);
    switch (attempt()) {
      case Attempt::registered:
        return true;
      case Attempt::deregistered:
        return false;
      case Attempt::failed:
        pause();
    }
  }
}

}  // namespace

void aaa_svr_rereg(std::uint32_t* stamp) {
  if (reg_state() == AAA_REG_REGISTERED) {
    AAA_DEBUG_LOG("aaa client is registered, not need register again.\r\n");
    return;
  }
  AAA_DEBUG_LOG("aaa client start to try re-reg.\r\n");
  if (!retry_until_registered(stamp)) return;
  tell_client(AAA_EVENT_REREGISTERED);
  AAA_DEBUG_LOG("register aaa success.\r\n");
}

}  // namespace aaa
