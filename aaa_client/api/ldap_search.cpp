// LDAP searches: the client's questions to aaad, and its answers to aaad's.
#include <cerrno>

#include "aaa_client.h"
#include "api/send_path.h"
#include "transport/base/cancellation.h"
#include "transport/debug_log.h"

std::int32_t aaa_user_req_search_ldap_entry(ldap_search_info* info) {
  if (info == nullptr) return -EINVAL;
  if (aaa_is_alive() == 0) return -1;
  return aaa::send_record("aaa_user_req_search_ldap_entry_sub", AAA_MSG_LDAP_SEARCH_REQ,
                          info->head.session_id,
                          aaa::RequestBody(aaa_encap_ldap_search_info, info));
}

// Unlike the other requests it does not take aaa_lib_lock, so it disables cancellation itself while
// it owns blocks.
std::int32_t aaa_add_ldap_search_result(ldap_search_result* result) {
  if (result == nullptr) return -EINVAL;
  if (aaa_is_alive() == 0) return -1;
  const aaa::CancellationScope no_cancellation(PTHREAD_CANCEL_DISABLE);
  const aaa::RequestBody body(aaa_encap_ldap_search_result_info, result);
  if (!body) {
    AAA_DEBUG_LOG("out of memory.\r\n");
    return -ENOMEM;
  }
  const auto error = static_cast<std::int32_t>(
      aaa::send_body(AAA_MSG_LDAP_SEARCH_RESULT, result->head.session_id, body));
  if (error != 0) AAA_DEBUG_LOG("send packet error with errno %d.\r\n", error);
  return -error;
}
