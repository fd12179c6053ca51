#include "runtime/client_events.h"

#include "session/client_state.h"

namespace aaa {

int aaa_lib_notify_aaa_event(std::uint32_t event) {
  const aaa_event_fn callback = load(g_aaa_client_cb.aaa_event_cb);
  return callback != nullptr ? callback(event) : static_cast<int>(event);
}

}  // namespace aaa
