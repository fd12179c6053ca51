// RADIUS-extension messages, and results that the client produces: of RADIUS extensions, methods
// and LDAP searches.
#include <cerrno>
#include <cstring>

#include "aaa_client.h"
#include "api/send_path.h"
#include "session/state/locks.h"
#include "transport/base/atomic_word.h"
#include "transport/base/cancellation.h"
#include "transport/debug_log.h"

namespace {

// The last word of the block is not sent.
constexpr std::int32_t sent_size = 2784;

std::int32_t send_result(std::uint32_t id, const std::uint32_t* body) {
  aaa::add(g_aaalib_stat.radext_results, 1U);
  constexpr std::int32_t size = 24;
  if (body != nullptr && aaa::send_one_way(AAA_MSG_RADEXT_ADD_RESULT, id, body, size) == 0) {
    return 0;
  }
  aaa::add(g_aaalib_stat.radext_result_failures, 1U);
  return -1;
}

}  // namespace

std::int32_t aaa_lib_radext_msg_recv(const radext_msg* msg) {
  if (aaa_is_alive() == 0 || msg == nullptr) return 0;
  aaa::RequestBody body(AAA_RADEXT_BLOCK_SIZE);
  if (!body) return 0;
  void* const block = body.extend(AAA_RADEXT_BLOCK_SIZE);
  std::memset(block, 0, AAA_RADEXT_BLOCK_SIZE);  // the encoder writes the rows alone
  aaa_encap_radext_msg_sub(block, msg);
  return aaa::send_one_way(AAA_MSG_RADEXT_REQ, 0, body.data(), sent_size) == 0 ? 1 : 0;
}

std::int32_t aaa_front_add_radext_result(std::uint32_t w0, std::uint32_t w1, std::uint32_t w2) {
  const std::uint32_t body[6] = {w0, w1, w2};
  return send_result(0, body);
}

std::int32_t aaa_front_add_radext_result2(const std::uint32_t words[6]) {
  return send_result(words != nullptr ? words[3] : 0, words);
}

std::int32_t aaa_method_add_result(result_info* result) {
  if (aaa_is_alive() == 0) return -1;
  if (result == nullptr) return -EINVAL;
  const aaa::RequestBody body(aaa_encap_result_info, result);
  if (!body) {
    AAA_DEBUG_LOG("out of memory.\r\n");
    return -ENOMEM;
  }
  const aaa::ScopedLock lock(aaa_lib_lock);
  const auto error = static_cast<std::int32_t>(
      aaa::send_body(AAA_MSG_SEND_RARE_RESULT, result->sub.session_id, body));
  if (error != 0) AAA_DEBUG_LOG("send packet error with errno %d.\r\n", error);
  return -error;
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
