// Where the receive thread of the library stands, seen from the system calls that it makes; and
// sockets that give up waiting after 5 ms in place of 2 s.
#pragma once

#include <atomic>

#include "support/scripted_calls.h"

namespace soak {

class ReceiveThreadWatch {
 public:
  ReceiveThreadWatch();

  // Each returns whether the thread came there in time: waiting for a message, waiting for the rest
  // of one, waiting for more bytes of a registration than before.
  bool is_idle() const;
  bool waits_for_the_rest() const;
  bool registers_after(int registering_reads) const;

  // How often it has waited for bytes of a registration. A registration passes quickly.
  int registering_reads() const { return registering_reads_; }

 private:
  void note_idle();
  void note_recv();

  std::atomic<bool> idle_ = false;
  std::atomic<int> reads_ = 0;  // since it was idle
  std::atomic<int> registering_reads_ = 0;
  test::ScriptedCalls calls_;
};

}  // namespace soak
