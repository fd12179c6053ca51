#include "runtime/send/client_events.h"

std::int32_t aaa_lib_notify_aaa_event(std::uint32_t event) {
  const aaa_event_fn callback = aaa::load(g_aaa_client_cb.aaa_event_cb);
  return callback != nullptr ? callback(event) : static_cast<std::int32_t>(event);
}
