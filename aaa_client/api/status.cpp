// aaad's settings, as registration and later messages left them.
#include "aaa_client.h"
#include "session/client_state.h"

namespace {

// A status word, or 0 when not registered.
std::uint32_t status_when_alive(const std::uint32_t& word) {
  return aaa_is_alive() == 0 ? 0 : aaa::load(word);
}

}  // namespace

std::uint32_t aaa_get_pro_status() {
  return status_when_alive(g_aaa_status.pro_status);
}

std::uint32_t aaa_get_new_model_status() {
  return status_when_alive(g_aaa_status.new_model) != 0 ? 1 : 0;
}

std::int32_t aaa_get_acct_period() {
  const auto period = static_cast<std::int32_t>(status_when_alive(g_aaa_status.acct_period));
  return period < 0 ? 0 : period;
}

std::uint32_t aaa_get_acct_start_fail_policy() {
  return status_when_alive(g_aaa_status.acct_start_fail_policy);
}

std::uint32_t aaa_get_login_service_check_mode() {
  return status_when_alive(g_aaa_status.login_service_check_mode);
}

std::uint32_t aaa_get_acct_status() {
  return status_when_alive(g_aaa_status.acct_status) != 0 ? 1 : 0;
}

std::uint32_t aaa_is_local_user_public_account_allowed() {
  return status_when_alive(g_aaa_status.local_user_public_account) == 1 ? 1 : 0;
}
