// A process that is registered with a peer of its own.
#pragma once

#include <functional>

#include "aaa_client.h"

namespace bench {

// What the peer does once both sockets are registered.
using ServePeer = std::function<void(int request_socket, int event_socket)>;

// Starts the peer and registers with it, for good. `info.model_name` need not be set. Throws when
// the registration does not succeed.
void register_with_peer(reg_info info, const ServePeer& serve);

// The second half of it, where many clients share one peer.
void register_client(reg_info info);

}  // namespace bench
