/*
 * A client in thread mode: no event library is in the process, and agent mode says so. Exit status
 * 0 when that holds.
 */
#include <aaa_client.h>
#include <stdio.h>
#include <string.h>

static int is_loaded(const char* name) {
  char line[1024];
  int found = 0;
  FILE* maps = fopen("/proc/self/maps", "r");
  if (maps == NULL) return 1;
  while (fgets(line, sizeof line, maps) != NULL)
    found |= strstr(line, name) != NULL;
  (void)fclose(maps);
  return found;
}

static int complain(const char* what) {
  (void)fprintf(stderr, "failed: %s\n", what);
  return 1;
}

int main(void) {
  int loop = 0;
  const reg_info registration = {.model_name = "threads"};
  g_aaa_status.debug = 1;
  if (is_loaded("libevent")) return complain("libevent is loaded");
  if (is_loaded("libsystemd")) return complain("sd-event is loaded");
  if (is_loaded("platform_host_events")) return complain("an event loop is loaded");
  if (aaa_agent_init(&registration, (struct zv_thread_master*)&loop) != -1) {
    return complain("agent mode without an event library");
  }
  if (aaa_lib_thread_event(3, NULL, 0) != -1) return complain("a task without an event library");
  if (aaa_agent_finish() != 0) return complain("the end of agent mode without an event library");
  return 0;
}
