#include "session/state/link.h"

#include <atomic>
#include <cassert>

namespace aaa {

pthread_t g_receive_msg_tid = 0;
std::uint32_t agent_registration = 0;

namespace {

LinkNumber number = 1;
LinkNumber lost = 0;
std::uint32_t latest_registration GUARDED_BY(aaa_lib_lock) = 0;

}  // namespace

LinkNumber link_number() {
  return std::atomic_ref<LinkNumber>(number).load(std::memory_order_acquire);
}

void end_link() {
  const ScopedLock lock(link_number_lock);
  std::atomic_ref<LinkNumber>(number).fetch_add(1, std::memory_order_seq_cst);
}

void announce_link_loss(LinkNumber link) {
  store(lost, link);
}
bool link_is_lost() {
  return load(lost) == link_number();
}

void begin_agent_registration() {
  assert(is_held(aaa_lib_lock));
  store(agent_registration, ++latest_registration);
}
void end_agent_registration() {
  assert(is_held(aaa_lib_lock));
  store(agent_registration, 0U);
}

}  // namespace aaa
