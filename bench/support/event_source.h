// A daemon that sends so many messages on the event socket as it is asked for.
#pragma once

#include <cstddef>

#include "support/frames.h"

namespace bench {

// Both ends of the way in which the client asks; made before the server is started.
class EventSource {
 public:
  EventSource();

  // The client: asks for messages.
  void ask_for(std::size_t messages) const;

  // The server: sends what is asked for until the client has gone. Without a pause many messages
  // go in one write, so that the receiving side is what costs; with one they go one by one.
  void serve(int event_socket, const Bytes& message, std::size_t pause_us) const;

 private:
  int asking_;
  int asked_;
};

}  // namespace bench
