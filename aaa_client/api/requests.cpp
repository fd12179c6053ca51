// The requests for a user: authentication, authorization, accounting, LDAP searches.
#include <cerrno>

#include "aaa_client.h"
#include "api/send_path.h"
#include "runtime/send/statistics.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "transport/debug_log.h"

namespace aaa {
namespace {

std::int32_t aaa_user_req_acct_sub(acct_info* acct) {
  if (acct->session_id == 0) return -EINVAL;
  return send_record(__func__, AAA_MSG_ACCT_REQ, acct->session_id,
                     RequestBody(aaa_encap_acct_info, acct), -EINVAL);
}

}  // namespace
}  // namespace aaa

std::int32_t aaa_user_req_authen_sub(authen_info* authen, std::uint32_t type) {
  if (authen == nullptr) return -EINVAL;
  if (authen->session_id == 0 && type == AAA_MSG_AUTHEN_REQ) return -EINVAL;
  return aaa::send_record(__func__, type, authen->session_id,
                          aaa::RequestBody(aaa_encap_authen_info, authen));
}

std::int32_t aaa_user_req_author_sub(author_info* author, std::uint32_t type) {
  if (author == nullptr) return -EINVAL;
  if (author->session_id == 0 && type == AAA_MSG_AUTHOR_REQ) return -EINVAL;
  return aaa::send_record(__func__, type, author->session_id,
                          aaa::RequestBody(aaa_encap_author_info, author));
}

std::int32_t aaa_user_req_authen(authen_info* authen) {
  if (authen == nullptr) return -EINVAL;
  if (aaa_is_alive() == 0) return -1;
  aaa::add(g_aaalib_stat.authen_requests, 1U);
  const aaa::ScopedTiming timing(aaa::timing_authen);
  const std::int32_t result = aaa_user_req_authen_sub(authen, AAA_MSG_AUTHEN_REQ);
  if (result != 0) aaa::add(g_aaalib_stat.authen_failures, 1U);
  return result;
}

std::int32_t aaa_user_req_author(author_info* author) {
  if (author == nullptr) return -EINVAL;
  if (aaa_is_alive() == 0) return -1;
  return aaa_user_req_author_sub(author, AAA_MSG_AUTHOR_REQ);
}

std::int32_t aaa_user_req_acct(acct_info* acct) {
  if (acct == nullptr) return -EINVAL;
  if (aaa_is_alive() == 0) return -1;
  aaa::add(g_aaalib_stat.acct_requests, 1U);
  const aaa::ScopedTiming timing(aaa::timing_acct);
  const std::int32_t result = aaa::aaa_user_req_acct_sub(acct);
  if (result != 0) aaa::add(g_aaalib_stat.acct_failures, 1U);
  return result;
}

std::int32_t aaa_user_req_search_ldap_entry(ldap_search_info* info) {
  if (info == nullptr) return -EINVAL;
  if (aaa_is_alive() == 0) return -1;
  return aaa::send_record("aaa_user_req_search_ldap_entry_sub", AAA_MSG_LDAP_SEARCH_REQ,
                          info->head.session_id,
                          aaa::RequestBody(aaa_encap_ldap_search_info, info));
}

std::int32_t aaa_notify_ctrl_if_switch(const std::uint32_t words[3]) {
  if (words == nullptr || words[0] == 0) return -EINVAL;
  if (aaa_is_alive() == 0) return -1;
  constexpr std::uint32_t size = 3 * sizeof words[0];
  const aaa::ScopedLock lock(aaa_lib_lock);
  const std::uint32_t error = aaa_lib_send_ipc_msg(aaa::load(g_aaa_client_cb.sync_fd),
                                                   AAA_MSG_INTERFACE_CONTROL, 0, words, size);
  if (error != 0) AAA_DEBUG_LOG("send pak error with errno %d.\r\n", errno);
  return -static_cast<std::int32_t>(error);
}
