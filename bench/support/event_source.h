// A daemon that sends messages on the event socket on demand.
#pragma once

#include <cstddef>

#include "support/sockets.h"

namespace bench {

// Holds both ends of the control socket. Construct it before the server process
// starts.
class EventSource {
 public:
  EventSource();

  // In the client: requests that many messages.
  void ask_for(std::size_t messages) const;

  // In the server: sends what is requested until the client has closed. Without a pause one write
  // has many messages, so that mainly the receiver is measured; with a pause it has one.
  void serve(int event_socket, const Bytes& message, std::size_t pause_us) const;

 private:
  int client_;
  int server_;
};

}  // namespace bench
