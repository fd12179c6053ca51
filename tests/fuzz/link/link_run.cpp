#include "fuzz/link/link_run.h"

#include <cstdlib>

#include "api/session_ids.h"
#include "fuzz/link/played_loop.h"
#include "fuzz/touch.h"
#include "runtime/receive/receive_thread.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "transport/base/cancellation.h"
#include "transport/base/memory.h"
#include "transport/debug_log.h"
#include "transport/message_endpoints.h"

namespace fuzz {
namespace {

// The next pass of the receive thread, or its next attempt to connect, is then the last.
void end_receive_thread() {
  aaa::store(aaa::g_receive_msg_tid, pthread_t{0});
}

bool is_free(pthread_mutex_t& lock) {
  return lock.__data.__count == 0 && lock.__data.__owner == 0;
}

void expect_nothing_held(const PlayedAaad& aaad) {
  require(aaad.open_sockets() == 0);
  require(is_free(aaa_lib_lock) && is_free(aaa_lib_send_buf_lock));
  require(is_free(aaa::waiting_session_lock));
  require(is_free(aaa::request_write_lock) && is_free(aaa::event_write_lock));
  require(is_free(aaa::event_read_lock));
}

void forget_registration() {
  aaa::store(g_aaa_client_cb.aaa_id, 0);
  aaa::set_reg_state(AAA_REG_NOT_REGISTERED);
  aaa::store_callbacks({});
  aaa::store_status({});
  aaa::g_aaalib_debug_count_curr = 0;
  aaa::g_session_id = aaa::g_session_id_max = 0;
}

void prepare(const PlayedAaad& aaad) {
  setenv("TMPDIR", "/tmp", 1);  // nothing is written there
  g_aaa_status.debug = (aaad.flags() & kDebugGate) != 0 ? 1 : 0;
}

// An aaad that grants the id -1 has the library take its client for deregistered when the link is
// lost; the sockets then stay as they are.
class Departure {
 public:
  explicit Departure(PlayedAaad& aaad) : aaad_(aaad) { aaad.become_peaceful(); }
  ~Departure() {
    if (taken_for_gone_) aaa_lib_client_close();
    expect_nothing_held(aaad_);
    forget_registration();
  }
  Departure(const Departure&) = delete;
  Departure& operator=(const Departure&) = delete;

 private:
  PlayedAaad& aaad_;
  bool taken_for_gone_ = aaa::load(g_aaa_client_cb.aaa_id) == -1;
};

}  // namespace

void run_receive_thread(PlayedAaad& aaad, const reg_info& info) {
  prepare(aaad);
  aaad.when_over(end_receive_thread);
  require(aaa_svr_reg(&info) == 0);
  {
    const aaa::CancellationScope as_before(PTHREAD_CANCEL_DISABLE);
    aaa::aaa_lib_thread(nullptr);
  }
  const Departure departure(aaad);
  if (aaa_svr_dereg() != 0) aaa_lib_client_close();
}

void run_event_loop(PlayedAaad& aaad, const reg_info& info) {
  PlayedLoop loop;
  prepare(aaad);
  require(aaa_agent_init(&info, loop.master()) == 0);
  loop.run(aaad);
  const Departure departure(aaad);
  aaa_agent_finish();
}

std::uint32_t live_blocks() {
  return aaa::load(g_aaa_malloc_times) - aaa::load(g_aaa_free_times);
}

}  // namespace fuzz
