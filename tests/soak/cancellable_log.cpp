#include "soak/cancellable_log.h"

#include <pthread.h>

namespace soak {
namespace {

thread_local int lines_left = 0;

}  // namespace

void cancel_at_line(int line) {
  lines_left = line;
}

}  // namespace soak

// The test program is linked so that the library's lines come here.
extern "C" void __wrap_printk_syslog_ext(int, const char*, const char*, int, const char*, ...) {
  if (soak::lines_left > 0 && --soak::lines_left == 0) pthread_cancel(pthread_self());
  pthread_testcancel();
}
