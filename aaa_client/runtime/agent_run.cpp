#include "runtime/agent_run.h"

#include <unistd.h>

#include "session/client_state.h"

namespace aaa {
namespace {

constexpr unsigned refused_pause_seconds = 2;

// Without a socket there is nothing to watch: the client has closed it or has deregistered.
bool is_wanted(const AgentRun& run, AgentEvent event) {
  return run.goes_on() && (event != agent_read || load(g_aaa_client_cb.async_fd) >= 0);
}

}  // namespace

void schedule(const AgentRun& run, AgentEvent event, void* argument) {
  while (is_wanted(run, event) &&
         aaa_lib_thread_event(event, argument, load(g_aaa_client_cb.async_fd)) != 0)
    sleep(refused_pause_seconds);
}

}  // namespace aaa
