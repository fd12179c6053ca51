// Handlers of signals that a test sends to its own threads.
#pragma once

#include <signal.h>

namespace test {

// Has `number` interrupt system calls and run `handler`, for the rest of the program's life: a
// signal can be pending for a thread long after it was sent, and the action of before would end the
// program.
inline void handle_from_now_on(int number, void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  sigaction(number, &action, nullptr);
}

}  // namespace test
