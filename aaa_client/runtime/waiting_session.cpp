#include "runtime/waiting_session.h"

#include "aaa_client.h"
#include "session/locks.h"
#include "transport/atomic_word.h"
#include "transport/memory.h"

namespace aaa {

std::uint32_t g_temp_sid = 0;

namespace {

constexpr std::uint32_t link_lost_code = 2;

std::uint32_t waiting_session() {
  const ScopedLock lock(waiting_session_lock);
  return load(g_temp_sid);
}

}  // namespace

void set_waiting_session(std::uint32_t session_id) {
  const ScopedLock lock(waiting_session_lock);
  store(g_temp_sid, session_id);
}

void aaa_notify_timeout(LinkNumber link) {
  const std::uint32_t session_id = waiting_session();
  // Read before the link was seen to last: nobody waits in a later registration yet.
  if (session_id == 0 || !link_lasts(link)) return;
  result_info result = {};
  result.sub.session_id = session_id;
  result.sub.num_a = link_lost_code;
  void* body = nullptr;
  const std::uint32_t length = aaa_encap_result_info(&result, &body);
  if (length == 0) return;
  aaa_lib_send_msg(body, length);
  AAA_FREE(body);
}

}  // namespace aaa
