// The link's number and its loss. A link is what the client and aaad have from one connection to
// its end; its number tells what belongs to it from what an earlier one has left: messages that a
// thread had read, answers that a callback gives late.
#pragma once

#include <cstdint>

#include "session/state/locks.h"
#include "transport/base/atomic_word.h"

namespace aaa {

using LinkNumber = std::uint32_t;

// The number of the present link, or of the next one while there is none.
LinkNumber link_number();
inline bool link_lasts(LinkNumber link) {
  return link == link_number();
}

// Called by whoever closes one of the link's sockets, under the locks of that socket.
void end_link();

// Makes a change that only the given link's messages may make, unless that link has ended. Its end
// waits for the change.
template <class Change>
void while_link_lasts(LinkNumber link, Change change) {
  const ScopedLock lock(link_number_lock);
  if (link_lasts(link)) change();
}

// Whoever owns the event socket announces a loss before it waits for aaa_lib_lock, so that an
// exchange that holds the lock and drains a dead socket ends.
void announce_link_loss(LinkNumber link);
bool link_is_lost();

}  // namespace aaa
