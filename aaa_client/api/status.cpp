// aaad's settings, as registration and later messages left them, and the new-model state in its
// file.
#include <fcntl.h>
#include <unistd.h>

#include "aaa_client.h"
#include "session/state/client_state.h"
#include "transport/base/cancellation.h"
#include "transport/base/paths.h"
#include "transport/debug_log.h"

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

std::uint32_t aaa_get_new_model_from_file() {
  char path[256] = {};
  if (aaa_make_path(path, aaa::new_model_suffix, sizeof path) == 0) {
    AAA_DEBUG_LOG("aaalib make new model path error.\n\r\n");
    return 0;
  }
  const aaa::CancellationScope no_cancellation(PTHREAD_CANCEL_DISABLE);
  const int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    AAA_DEBUG_LOG("aaalib open new model path error.\n\r\n");
    return 0;
  }
  char state = '0';
  if (read(fd, &state, 1) <= 0) AAA_DEBUG_LOG("aaalib fail to read new model file.\n\r\n");
  close(fd);
  return state != '0' ? 1 : 0;
}

std::uint32_t aaa_get_new_model_status_syn() {
  if (aaa_is_alive() == 0) return 0;
  const std::uint32_t state = aaa_get_new_model_from_file();
  aaa::store(g_aaa_status.new_model, state);
  return state;
}
