// The sign that the connection to aaad is lost. Whoever owns the event socket gives it before it
// waits for aaa_lib_lock, so that an exchange that holds the lock and drains a dead socket ends.
#pragma once

namespace aaa {

void announce_link_loss();
void forget_link_loss();
bool link_is_lost();

}  // namespace aaa
