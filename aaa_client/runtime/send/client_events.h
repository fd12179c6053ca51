// Client events: what the library tells its client about the connection and aaad's settings.
#pragma once

#include "aaa_client.h"
#include "transport/base/atomic_word.h"

namespace aaa {

// Raises an event of a registration that may end at any moment: `is_meant` is asked once the
// callback has been read, which is then not a later registration's.
template <class IsMeant>
void raise_event(aaa_client_event event, IsMeant is_meant) {
  const aaa_event_fn callback = acquire(g_aaa_client_cb.aaa_event_cb);
  if (callback != nullptr && is_meant()) callback(static_cast<std::uint32_t>(event));
}

}  // namespace aaa
