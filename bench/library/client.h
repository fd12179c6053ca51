// A process that is registered with a peer of its own.
#pragma once

#include <cstddef>
#include <functional>

#include "aaa_client.h"

namespace bench {

// The peer's work after both sockets are registered.
using ServePeer = std::function<void(int request_socket, int event_socket)>;

// Registers only, where clients share a peer. Sets `info.model_name`. Throws if the registration
// fails.
void register_client(reg_info info);

// Starts the peer and registers with it.
void register_with_peer(reg_info info, const ServePeer& serve,
                        const std::function<void(reg_info)>& register_self = register_client);

// Requests with results to the result callback, one at a time.
class CallbackRequests {
 public:
  explicit CallbackRequests(std::size_t body_length);

  // To register with.
  static reg_info registration();

  void send_and_wait();

 private:
  authen_info request_;
};

}  // namespace bench
