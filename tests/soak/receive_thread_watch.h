// Where the receive thread of the library stands, seen from the system calls that it makes; and
// sockets that give up waiting after 5 ms in place of 2 s.
#pragma once

#include <atomic>
#include <cstddef>
#include <string>

#include "support/scripted_calls.h"

namespace soak {

class ReceiveThreadWatch {
 public:
  ReceiveThreadWatch();

  // Each returns whether the thread came there in time: waiting for a message, waiting for that
  // many bytes more of one, waiting for bytes in the middle of a registration.
  bool is_idle() const;
  bool waits_for_bytes(std::size_t bytes) const;
  bool registers() const;

 private:
  // What the thread has asked for last.
  enum Call : int { idle = -1, registering = -2 };

  void note_recv(std::size_t size);

  std::atomic<int> call_ = 0;
  test::ScriptedCalls calls_;
};

}  // namespace soak
