// What a task of agent mode belongs to, and scheduling the next one.
#pragma once

#include <cstdint>

#include "runtime/agent_tasks.h"
#include "session/agent_registration.h"

namespace aaa {

// The registration that a task began in. A callback of the client or another thread may end it at
// any moment, or begin another one: the task then leaves everything alone.
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
