#include "session/state/link_number.h"

#include <atomic>

namespace aaa {
namespace {

LinkNumber number = 1;
LinkNumber lost = 0;

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

}  // namespace aaa
