#include "session/agent_registration.h"

namespace aaa {

std::uint32_t agent_registration = 0;

namespace {

std::uint32_t latest_registration = 0;

}  // namespace

void begin_agent_registration() {
  store(agent_registration, ++latest_registration);
}
void end_agent_registration() {
  store(agent_registration, 0U);
}

}  // namespace aaa
