#include "session/state/link_owner.h"

#include <cassert>

namespace aaa {

pthread_t g_receive_msg_tid = 0;
std::uint32_t agent_registration = 0;

namespace {

std::uint32_t latest_registration GUARDED_BY(aaa_lib_lock) = 0;

}  // namespace

void begin_agent_registration() {
  assert(is_held(aaa_lib_lock));
  store(agent_registration, ++latest_registration);
}
void end_agent_registration() {
  assert(is_held(aaa_lib_lock));
  store(agent_registration, 0U);
}

}  // namespace aaa
