// LDAP searches: the client's questions to aaad, and its answers to aaad's.
#include <cerrno>

#include "aaa_client.h"
#include "api/request_body.h"
#include "api/send_path.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "transport/base/cancellation.h"
#include "transport/debug_log.h"

namespace {

constexpr char search_log_name[] = "aaa_user_req_search_ldap_entry_sub";

std::uint32_t send_encoded(aaa_msg_type type, std::uint32_t id, const aaa::EncodedBody& body) {
  return aaa_lib_send_ipc_msg(aaa::load(g_aaa_client_cb.sync_fd), type, id, body.bytes(),
                              body.length());
}

}  // namespace

std::int32_t aaa_user_req_search_ldap_entry(ldap_search_info* info) {
  if (info == nullptr) return -EINVAL;
  if (aaa_is_alive() == 0) return -1;
  const aaa::EncodedBody body(aaa_encap_ldap_search_info, info);
  if (body.length() == 0) {
    AAA_DEBUG_LOG_AS(search_log_name, "out of memory.\r\n");
    return -ENOMEM;
  }
  const aaa::ScopedLock lock(aaa_lib_lock);
  const std::uint32_t error = send_encoded(AAA_MSG_LDAP_SEARCH_REQ, info->head.session_id, body);
  if (error != 0) {
    AAA_DEBUG_LOG_AS(search_log_name, "send packet error with errno %d.\r\n", errno);
  }
  return -static_cast<std::int32_t>(error);
}

// Alone among the requests it takes no lock of the library, which would keep the thread from being
// cancelled while it owns blocks.
std::int32_t aaa_add_ldap_search_result(ldap_search_result* result) {
  if (result == nullptr) return -EINVAL;
  if (aaa_is_alive() == 0) return -1;
  const aaa::CancellationScope no_cancellation(PTHREAD_CANCEL_DISABLE);
  const aaa::EncodedBody body(aaa_encap_ldap_search_result_info, result);
  if (body.length() == 0) {
    AAA_DEBUG_LOG("out of memory.\r\n");
    return -ENOMEM;
  }
  const auto error = static_cast<std::int32_t>(
      send_encoded(AAA_MSG_LDAP_SEARCH_RESULT, result->head.session_id, body));
  if (error != 0) AAA_DEBUG_LOG("send packet error with errno %d.\r\n", error);
  return -error;
}
