// Messages about aaad itself: its settings, the debug switch, method lists, the heartbeat.
#include <cstring>

#include "aaa_client.h"
#include "runtime/body_words.h"
#include "runtime/client_events.h"
#include "session/client_state.h"
#include "transport/clock.h"
#include "transport/debug_log.h"

namespace {

constexpr std::uint32_t max_debug_limit = 65534;
constexpr std::uint32_t default_debug_limit = 1000;

// A status word whose change the client is told of.
class Watched {
 public:
  Watched(std::uint32_t aaa_status::*word, aaa_client_event event)
      : word_(word), event_(event), before_(aaa::load(g_aaa_status.*word)) {}

  void raise_if_changed() const {
    if (aaa::load(g_aaa_status.*word_) != before_) aaa::aaa_lib_notify_aaa_event(event_);
  }

 private:
  std::uint32_t aaa_status::*word_;
  aaa_client_event event_;
  std::uint32_t before_;
};

}  // namespace

void aaalib_ipc_msg_proc_aaa_info_notify(const aaa_ipc_header* header, const void* body) {
  aaa_status now;
  if (body == nullptr || header->length < sizeof now) return;
  const Watched watched[] = {
      {&aaa_status::acct_status, AAA_EVENT_ACCT_STATUS_CHANGED},
      {&aaa_status::acct_period, AAA_EVENT_ACCT_PERIOD_CHANGED},
      {&aaa_status::acct_start_fail_policy, AAA_EVENT_ACCT_START_FAIL_POLICY_CHANGED},
      {&aaa_status::login_service_check_mode, AAA_EVENT_LOGIN_SERVICE_CHECK_MODE_CHANGED},
  };
  std::memcpy(&now, body, sizeof now);
  aaa::store_status(now);
  for (const Watched& word : watched)
    word.raise_if_changed();
}

void aaalib_ipc_msg_proc_aaa_debug_info(const aaa_ipc_header* header, const void* body) {
  if (body == nullptr || header->length < 8) return;
  const std::uint32_t enable = aaa::word_at(body, 0);
  const std::uint32_t limit = aaa::word_at(body, 4);
  if (enable > 1) return;
  aaa::store(g_aaa_status.debug, enable);
  aaa::store(g_aaa_status.debug_msg_limit, limit > max_debug_limit ? default_debug_limit : limit);
  aaa::store(aaa::g_aaalib_debug_count_curr, std::uint16_t{0});
}

void aaalib_ipc_msg_proc_mlist_change(const aaa_ipc_header*, const void*) {
  aaa::aaa_lib_notify_aaa_event(AAA_EVENT_METHOD_LISTS_CHANGED);
}

void aaalib_ipc_msg_proc_heartbeat(const aaa_ipc_header*, const void*) {
  aaa::store(aaalib_hbt_last_recv, aaa::monotonic_seconds());
}
