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
  // many bytes more of one, waiting for more bytes of a registration than before.
  bool is_idle() const;
  bool waits_for_bytes(std::size_t bytes) const;
  bool registers_after(int registering_reads) const;

  // How often it has waited for bytes of a registration. A registration passes quickly.
  int registering_reads() const { return registering_reads_; }

 private:
  // What the thread has asked for last.
  enum Call : int { idle = -1 };

  void note_recv(std::size_t size);

  std::atomic<int> call_ = 0;
  std::atomic<int> registering_reads_ = 0;
  test::ScriptedCalls calls_;
};

}  // namespace soak
