// Sockets of the library that give up waiting after 5 ms in place of 2 s, and where its receive
// thread stands, seen from the calls that it makes.
#pragma once

#include <atomic>
#include <functional>

#include "support/library_test.h"
#include "support/scripted_calls.h"

namespace soak {

// While time `passes`, each wait of the request socket that ends without a byte moves the clock by
// the 2 s that it stands for. It must not where something is still to come: on a busy machine that
// takes longer than such a wait.
test::Scripts let_time_pass(test::MovedClock& clock, std::function<bool()> passes);

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
  void note_recv();

  std::atomic<bool> idle_ = false;
  std::atomic<int> reads_ = 0;  // since it was idle
  std::atomic<int> registering_reads_ = 0;
  test::ScriptedCalls calls_;
};

}  // namespace soak
