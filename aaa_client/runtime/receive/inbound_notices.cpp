// Notices from aaad: its settings, the debug switch, method lists, the heartbeat, users, results.
#include <cstring>

#include "aaa_client.h"
#include "runtime/receive/inbound.h"
#include "session/state/client_state.h"
#include "transport/base/clock.h"
#include "transport/debug_log.h"

namespace aaa {
namespace {

void tell(const Inbound& message, aaa_client_event event) {
  raise_event(event, [&] { return link_lasts(message.link); });
}

// A status word whose change raises an event.
class Watched {
 public:
  Watched(std::uint32_t aaa_status::*word, aaa_client_event event)
      : word_(word), event_(event), before_(load(g_aaa_status.*word)) {}

  void raise_if_changed(const Inbound& message) const {
    if (load(g_aaa_status.*word_) != before_) tell(message, event_);
  }

 private:
  std::uint32_t aaa_status::*word_;
  aaa_client_event event_;
  std::uint32_t before_;
};

}  // namespace

void handle_aaa_info_notify(const Inbound& message) {
  aaa_status now;
  if (!message.reaches(sizeof now)) return;
  const Watched watched[] = {
      {&aaa_status::acct_status, AAA_EVENT_ACCT_STATUS_CHANGED},
      {&aaa_status::acct_period, AAA_EVENT_ACCT_PERIOD_CHANGED},
      {&aaa_status::acct_start_fail_policy, AAA_EVENT_ACCT_START_FAIL_POLICY_CHANGED},
      {&aaa_status::login_service_check_mode, AAA_EVENT_LOGIN_SERVICE_CHECK_MODE_CHANGED},
  };
  std::memcpy(&now, message.body, sizeof now);
  while_link_lasts(message.link, [&] { store_status(now); });
  for (const Watched& word : watched)
    word.raise_if_changed(message);
}

void handle_aaa_debug_info(const Inbound& message) {
  constexpr std::uint32_t min_size = 8;
  constexpr std::uint32_t max_debug_limit = 65534;
  constexpr std::uint32_t default_debug_limit = 1000;
  if (!message.reaches(min_size)) return;
  const std::uint32_t enable = message.word_at(0);
  const std::uint32_t limit = message.word_at(4);
  if (enable > 1) return;
  while_link_lasts(message.link, [=] {
    store(g_aaa_status.debug, enable);
    store(g_aaa_status.debug_msg_limit, limit > max_debug_limit ? default_debug_limit : limit);
    store(g_aaalib_debug_count_curr, std::uint16_t{0});
  });
}

void handle_mlist_change(const Inbound& message) {
  tell(message, AAA_EVENT_METHOD_LISTS_CHANGED);
}

void handle_heartbeat(const Inbound& message) {
  while_link_lasts(message.link, [] { store(aaalib_hbt_last_recv, monotonic_seconds()); });
}

void handle_notify_del_msg(const Inbound& message) {
  constexpr std::uint32_t min_size = 560;
  constexpr std::uint32_t counted_kind = 2;
  const auto callback = message.callback(g_aaa_client_cb.notify_del_msg_cb);
  if (!message.reaches(min_size) || callback == nullptr) return;
  if (message.word_at(0) == counted_kind) add(g_aaalib_stat.coa_and_kick_notices, 1U);
  callback(message.body);
}

void handle_del_msg_req(const Inbound& message) {
  constexpr std::uint32_t min_size = 12;
  const auto callback = message.callback(g_aaa_client_cb.del_msg_req_cb);
  if (!message.reaches(min_size) || callback == nullptr) return;
  callback(message.word_at(0), message.word_at(4), message.word_at(8));
}

void handle_add_radext_result(const Inbound& message) {
  constexpr std::uint32_t min_size = 24;
  const auto callback = message.callback(g_aaa_client_cb.add_radext_result_cb);
  if (message.reaches(min_size) && callback != nullptr) callback(message.body);
}

void handle_notify_coa_req(const Inbound& message) {
  constexpr std::uint32_t min_size = 720;
  const auto callback = message.callback(g_aaa_client_cb.notify_coa_req_cb);
  if (!message.reaches(min_size) || callback == nullptr) return;
  add(g_aaalib_stat.coa_and_kick_notices, 1U);
  callback(message.body);
}

namespace {

void hand_to_callback(aaa_notify_result_fn callback, const Inbound& message) {
  add(g_aaalib_stat.results_to_callback, 1U);
  result_info* result = nullptr;
  if (aaa_parse_result_info(&result, message.body,
                            static_cast<std::int32_t>(message.header->length)) != 0) {
    callback(result);
  }
  aaa_free_result_info(result);
}

}  // namespace

void handle_notify_result(const Inbound& message) {
  if (message.body == nullptr) return;
  const aaa_notify_result_fn callback = acquire(g_aaa_client_cb.notify_result_cb);
  if (!link_lasts(message.link)) return;
  if (callback != nullptr) {
    hand_to_callback(callback, message);
    return;
  }
  add(g_aaalib_stat.results_to_waiter, 1U);
  aaa_lib_send_msg(message.body, message.header->length);
}

void handle_notify_ldap_search_entry_result(const Inbound& message) {
  constexpr char log_name[] = "aaalib_ipc_msg_proc_notify_ldap_search_entry_result";
  if (message.body == nullptr) return;
  const aaa_ipc_header& header = *message.header;
  AAA_DEBUG_LOG_AS(log_name, "aaaid[%d], session_id[%d], msg_type[%d]\r\n",
                   static_cast<int>(header.marker), static_cast<int>(header.id),
                   static_cast<int>(header.type));
  const auto callback = message.callback(g_aaa_client_cb.ldap_search_result_cb);
  if (callback == nullptr) return;
  ldap_search_result* result = nullptr;
  if (aaa_parse_ldap_search_result(&result, message.body,
                                   static_cast<std::int32_t>(header.length)) != 0) {
    callback(result);
  } else {
    AAA_DEBUG_LOG_AS(log_name, "parse ldap search result info fail\r\n");
  }
  aaa_free_ldap_search_result(result);
}

}  // namespace aaa
