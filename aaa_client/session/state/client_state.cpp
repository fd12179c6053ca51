#include "session/state/client_state.h"

#include <cassert>
#include <cstddef>

namespace {

constexpr aaa_client_cb not_connected() {
  aaa_client_cb record = {};
  record.sync_fd = -1;
  record.async_fd = -1;
  record.reg_state = AAA_REG_NOT_REGISTERED;
  return record;
}

}  // namespace

constinit aaa_client_cb g_aaa_client_cb = not_connected();

aaa_status g_aaa_status = {};

char g_aaalib_process_name[64] = {};

namespace aaa {

ModelName::ModelName() {
  for (std::size_t i = 0; i < sizeof text; ++i)
    text[i] = load(g_aaa_client_cb.model_name[i]);
}

void set_model_name(const char* name) {
  assert(is_held(aaa_lib_lock));
  bool ended = false;
  for (std::size_t i = 0; i < AAA_MODEL_NAME_SIZE; ++i) {
    ended = ended || i == AAA_MODEL_NAME_SIZE - 1 || name[i] == '\0';
    store(g_aaa_client_cb.model_name[i], ended ? '\0' : name[i]);
  }
}

void set_reg_state(aaa_reg_state state) {
  assert(is_held(aaa_lib_lock));
  store(g_aaa_client_cb.reg_state, static_cast<std::int32_t>(state));
}

void set_aaa_id(std::int32_t id) {
  assert(is_held(aaa_lib_lock));
  store(g_aaa_client_cb.aaa_id, id);
}

void store_callbacks(const reg_info& info) {
  assert(is_held(aaa_lib_lock));
  release(g_aaa_client_cb.notify_result_cb, info.notify_result_cb);
  release(g_aaa_client_cb.notify_del_msg_cb, info.notify_del_msg_cb);
  release(g_aaa_client_cb.notify_coa_req_cb, info.notify_coa_req_cb);
  release(g_aaa_client_cb.reserved_cb, info.reserved_cb);
  release(g_aaa_client_cb.aaa_event_cb, info.aaa_event_cb);
  release(g_aaa_client_cb.ldap_search_result_cb, info.ldap_search_result_cb);
  release(g_aaa_client_cb.authen_group_req_cb, info.authen_group_req_cb);
  release(g_aaa_client_cb.author_group_req_cb, info.author_group_req_cb);
  release(g_aaa_client_cb.acct_group_req_cb, info.acct_group_req_cb);
  release(g_aaa_client_cb.del_msg_req_cb, info.del_msg_req_cb);
  release(g_aaa_client_cb.gs_valid_req_cb, info.gs_valid_req_cb);
  release(g_aaa_client_cb.get_online_info_cb, info.get_online_info_cb);
  release(g_aaa_client_cb.enable_authen_cb, info.enable_authen_cb);
  release(g_aaa_client_cb.add_radext_result_cb, info.add_radext_result_cb);
  release(g_aaa_client_cb.localeap_authen_cb, info.localeap_authen_cb);
  release(g_aaa_client_cb.ldap_search_entry_req_cb, info.ldap_search_entry_req_cb);
}

void store_status(const aaa_status& status) {
  store(g_aaa_status.new_model, status.new_model);
  store(g_aaa_status.acct_period, status.acct_period);
  store(g_aaa_status.acct_status, status.acct_status);
  store(g_aaa_status.debug, status.debug);
  store(g_aaa_status.debug_msg_limit, status.debug_msg_limit);
  store(g_aaa_status.pro_status, status.pro_status);
  store(g_aaa_status.local_user_public_account, status.local_user_public_account);
  store(g_aaa_status.acct_start_fail_policy, status.acct_start_fail_policy);
  store(g_aaa_status.login_service_check_mode, status.login_service_check_mode);
  store(g_aaa_status.aaa_id_limit, status.aaa_id_limit);
}

void clear_callbacks() {
  reg_info remaining = {};
  remaining.ldap_search_result_cb = load(g_aaa_client_cb.ldap_search_result_cb);
  remaining.ldap_search_entry_req_cb = load(g_aaa_client_cb.ldap_search_entry_req_cb);
  store_callbacks(remaining);
}

}  // namespace aaa
