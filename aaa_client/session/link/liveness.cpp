// Whether the client is registered.
#include "aaa_client.h"
#include "session/state/client_state.h"
#include "transport/debug_log.h"

std::int32_t aaa_is_alive() {
  if (aaa::reg_state() == AAA_REG_REGISTERED) return 1;
  AAA_DEBUG_LOG("already unregistered or not registered or is connecting!\r\n");
  return 0;
}
