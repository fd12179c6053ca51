#include "api/session_ids.h"

#include "aaa_client.h"
#include "runtime/send/statistics.h"
#include "session/state/locks.h"
#include "transport/base/atomic_word.h"
#include "transport/debug_log.h"
#include "transport/exchange.h"

namespace aaa {

std::uint32_t g_session_id = 0;
std::uint32_t g_session_id_max = 0;

namespace {

constexpr char log_name[] = "aaa_get_session_id";

std::uint32_t take_from_block() REQUIRES(aaa_lib_lock) {
  const std::uint32_t next = g_session_id + 1;
  if (g_session_id == 0 || next >= g_session_id_max) return 0;
  g_session_id = next;
  return next;
}

std::uint32_t fetch_block() REQUIRES(aaa_lib_lock) {
  const std::uint32_t request[2] = {0, 0};
  const Reply reply(aaalib_sr_ipc_msg(AAA_MSG_GET_SESSION_ID, request, sizeof request));
  if (!reply) {
    AAA_DEBUG_LOG_AS(log_name, "get sessionid from aaad failed.\r\n");
    return 0;
  }
  if (reply.type() != AAA_MSG_GET_SESSION_ID) return 0;
  const std::uint32_t first = reply.word(0);
  const std::uint32_t count = reply.word(1);
  AAA_DEBUG_LOG_AS(log_name, "get sessionid from aaad success, current %u, top %u.\r\n", first,
                   count);
  if (first == 0) return 0;
  g_session_id = first;
  g_session_id_max = first + count;
  return first;
}

}  // namespace
}  // namespace aaa

std::uint32_t aaa_get_session_id() {
  if (aaa_is_alive() == 0) return 0;
  aaa::add(g_aaalib_stat.session_id_requests, 1U);
  const aaa::ScopedTiming timing(aaa::timing_session_id);
  const aaa::ScopedLock lock(aaa_lib_lock);
  const std::uint32_t next = aaa::take_from_block();
  if (next != 0) return next;
  const std::uint32_t first = aaa::fetch_block();
  if (first == 0) aaa::add(g_aaalib_stat.session_id_failures, 1U);
  return first;
}
