#include "session/state/link_owner.h"

namespace aaa {

pthread_t g_receive_msg_tid = 0;
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
