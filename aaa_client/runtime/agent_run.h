// The registration in agent mode that the tasks of the client's event loop belong to.
#pragma once

#include <cstdint>

#include "runtime/agent_tasks.h"
#include "transport/atomic_word.h"

namespace aaa {

// The number of the registration in force; 0 while there is none. Written under aaa_lib_lock.
extern std::uint32_t agent_registration;

inline bool agent_mode_is_on() {
  return load(agent_registration) != 0;
}

// REQUIRES: aaa_lib_lock held.
void begin_agent_registration();
void end_agent_registration();

// The registration that a task began in. A callback of the client may end it under the task's feet,
// or begin another one: the task then leaves everything alone.
class AgentRun {
 public:
  bool goes_on() const { return number_ != 0 && load(agent_registration) == number_; }

 private:
  std::uint32_t number_ = load(agent_registration);
};

// Schedules a task, every 2 seconds until the event library accepts it or there is nothing to
// schedule it for any more.
void schedule(const AgentRun& run, AgentEvent event, void* argument = nullptr);

}  // namespace aaa
