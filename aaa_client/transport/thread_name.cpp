// Naming the calling thread.
#include <sys/prctl.h>

#include "aaa_client.h"
#include "transport/debug_log.h"

void set_thread_name(char* name) {
  if (name == nullptr) return;
  prctl(PR_SET_NAME, name);
  if (prctl(PR_GET_NAME, name) == 0) AAA_DEBUG_LOG("thread name: %s.\r\n", name);
}
