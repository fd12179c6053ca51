/* SIGINT and SIGTERM as a descriptor. */
#ifndef EXAMPLES_END_SIGNALS_H
#define EXAMPLES_END_SIGNALS_H

#include <signal.h>
#include <stddef.h>
#include <sys/signalfd.h>

/* Must run before the library starts a thread: threads inherit the signal mask. Returns -1 when
 * there is no descriptor left. */
static inline int open_end_signals(void) {
  sigset_t ending;
  (void)sigemptyset(&ending);
  (void)sigaddset(&ending, SIGINT);
  (void)sigaddset(&ending, SIGTERM);
  if (sigprocmask(SIG_BLOCK, &ending, NULL) != 0) return -1;
  return signalfd(-1, &ending, SFD_CLOEXEC);
}

#endif
