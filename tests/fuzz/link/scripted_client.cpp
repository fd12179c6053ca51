#include "fuzz/link/scripted_client.h"

#include <cstring>

#include "api/session_ids.h"
#include "runtime/receive/receive_thread.h"
#include "runtime/send/library_threads.h"
#include "session/state/client_state.h"
#include "support/lock_check.h"
#include "support/locked_state.h"
#include "traffic/calls.h"
#include "traffic/touch.h"
#include "transport/base/cancellation.h"
#include "transport/debug_log.h"

namespace fuzz {

using traffic::require;
using traffic::touch;

namespace {

bool waited_for_result = false;

void read_result(result_info* result) {
  touch(result, sizeof *result);
  traffic::touch_items(*result);
}

void wait_for_result(std::uint32_t session_id) {
  waited_for_result = true;
  result_info* result = nullptr;
  if (aaa_user_get_result(session_id, 0, 2, &result) != 0) return;
  traffic::read_and_release(result);
}

void request_accounting(std::uint32_t session_id) {
  acct_info record = {};
  record.session_id = session_id;
  aaa_user_req_acct(&record);
}

void update_password(std::uint32_t code, const char* s1, const char* s2, const char* s3) {
  for (const char* text : {s1, s2, s3})
    touch(text, std::strlen(text) + 1);
  aaa_add_user_pwd_update_result(code, 0);
}

bool is_free(pthread_mutex_t& lock) {
  return lock.__data.__count == 0 && lock.__data.__owner == 0;
}

// How often a 16-bit word stands at any place.
std::uint32_t count_of_word(const std::string& bytes, std::uint16_t word) {
  const std::string wanted = test::word_bytes(word).substr(0, 2);
  std::uint32_t count = 0;
  for (auto at = bytes.find(wanted); at != std::string::npos; at = bytes.find(wanted, at + 1))
    ++count;
  return count;
}

}  // namespace

reg_info scripted_client() {
  reg_info info = {};
  std::strcpy(info.model_name, "fuzz");
  traffic::receive_notices(info);
  aaa_add_user_pwd_update_req_handle(update_password);
  info.notify_result_cb = read_result;
  info.del_msg_req_cb = [](std::uint32_t w0, std::uint32_t w1, std::uint32_t) { ask_aaad(w0, w1); };
  info.aaa_event_cb = [](std::uint32_t event) { return static_cast<int>(event); };
  return info;
}

void ask_aaad(std::uint32_t question, std::uint32_t word) {
  switch (question) {
    case kResult:
      return wait_for_result(word);
    case kForgetUser:
      return static_cast<void>(aaa_clear_req_user(word));
    case kAccounting:
      return request_accounting(word);
    default:
      traffic::questions()[question % traffic::questions().size()].make();
  }
}

bool has_waited_for_result() {
  return waited_for_result;
}
void forget_waiting() {
  waited_for_result = false;
}

void run_receive_thread() {
  const aaa::CancellationScope as_before(PTHREAD_CANCEL_DISABLE);
  aaa::store(aaa::g_receive_msg_tid, pthread_self());
  aaa::thread_will_start(aaa::ThreadRole::receive);
  aaa::aaa_lib_thread(nullptr);
}

void end_receive_thread() {
  aaa::store(aaa::g_receive_msg_tid, pthread_t{0});
}

void forget_client(const ScriptedAaad& aaad) {
  require(aaad.open_sockets() == 0);
  for (const auto& [name, lock] : test::every_lock)
    require(is_free(*lock));
  aaa::store(g_aaa_client_cb.aaa_id, 0);
  test::set_reg_state(AAA_REG_NOT_REGISTERED);
  test::store_callbacks({});
  aaa::store_status({});
  aaa::g_aaalib_debug_count_curr = 0;
  aaa::g_session_id = aaa::g_session_id_max = 0;
}

bool are_intended(std::uint32_t blocks_left, const std::string& bytes,
                  std::uint32_t failed_allocations) {
  if (blocks_left == 0) return true;
  constexpr std::uint16_t entry_tag = 310;
  std::uint32_t intended = 0;
  constexpr std::uint16_t tags[] = {298, 299, 301, 302, 303, 321, 322};
  for (const std::uint16_t tag : tags) {
    const std::uint32_t count = count_of_word(bytes, tag);
    intended += count > 0 ? count - 1 : 0;
  }
  if (failed_allocations > 0) intended += failed_allocations + count_of_word(bytes, entry_tag);
  return blocks_left <= intended;
}

}  // namespace fuzz
