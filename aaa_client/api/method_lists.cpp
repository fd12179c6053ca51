// Method lists: whether one exists, and the state of one for authentication.
#include <cstring>

#include "aaa_client.h"
#include "api/request_body.h"
#include "runtime/statistics.h"
#include "transport/atomic_word.h"
#include "transport/exchange.h"

namespace {

constexpr std::uint32_t first_unknown_kind = 11;

}  // namespace

std::uint32_t aaa_mlist_existed(std::uint32_t w0, std::uint32_t w1, std::uint32_t w2,
                                const char* name) {
  if (aaa_is_alive() == 0) return 0;
  aaa::add(g_aaalib_stat.mlist_queries, 1U);
  if (name == nullptr) return 0;
  const std::size_t name_size = std::strlen(name) + 1;
  aaa::RequestBody body(name_size + 12);
  if (!body) return 0;
  const aaa::ScopedTiming timing(aaa::timing_mlist);
  for (const std::uint32_t word : {w0, w1, w2})
    body.add_word(word);
  body.add_bytes(name, name_size);
  const aaa::Reply reply(aaalib_sr_ipc_msg(AAA_MSG_QUERY_MLIST_EXIST, body.data(), body.size()));
  if (!reply) {
    aaa::add(g_aaalib_stat.mlist_failures, 1U);
    return 0;
  }
  return reply.type() == AAA_MSG_MLIST_EXISTED_RESP && reply.length() == 4 ? reply.word(0) : 0;
}

std::uint32_t aaa_authen_mlist_sta_query(std::uint32_t kind, const char* name) {
  if (aaa_is_alive() == 0 || kind >= first_unknown_kind) return 0;
  const std::size_t name_size = name != nullptr ? std::strlen(name) + 1 : 0;
  aaa::RequestBody body(name_size + 4);
  if (!body) return 0;
  body.add_word(kind);
  if (name != nullptr) body.add_bytes(name, name_size);
  const aaa::Reply reply(
      aaalib_sr_ipc_msg(AAA_MSG_QUERY_AUTHEN_MLIST_STATE, body.data(), body.size()));
  if (!reply || reply.type() != AAA_MSG_AUTHEN_MLIST_STATE_RESULT) return 0;
  return reply.word(0);
}
