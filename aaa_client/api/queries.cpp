// Method lists, server groups and statistics: queries to aaad and reports to it.
#include <cstring>

#include "aaa_client.h"
#include "api/send_path.h"
#include "codec/tlv.h"
#include "runtime/send/statistics.h"
#include "transport/base/atomic_word.h"
#include "transport/exchange.h"

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
  const aaa::Reply reply(aaa::exchange(AAA_MSG_QUERY_MLIST_EXIST, body));
  if (!reply) {
    aaa::add(g_aaalib_stat.mlist_failures, 1U);
    return 0;
  }
  return reply.type() == AAA_MSG_MLIST_EXISTED_RESP && reply.length() == 4 ? reply.word(0) : 0;
}

std::uint32_t aaa_authen_mlist_sta_query(std::uint32_t kind, const char* name) {
  constexpr std::uint32_t first_unknown_kind = 11;
  if (aaa_is_alive() == 0 || kind >= first_unknown_kind) return 0;
  const std::size_t name_size = name != nullptr ? std::strlen(name) + 1 : 0;
  aaa::RequestBody body(name_size + 4);
  if (!body) return 0;
  body.add_word(kind);
  if (name != nullptr) body.add_bytes(name, name_size);
  const aaa::Reply reply(aaa::exchange(AAA_MSG_QUERY_AUTHEN_MLIST_STATE, body));
  if (!reply || reply.type() != AAA_MSG_AUTHEN_MLIST_STATE_RESULT) return 0;
  return reply.word(0);
}

std::uint32_t aaa_register_group(std::uint32_t w1, const char* name, std::uint32_t w0) {
  if (aaa_is_alive() == 0 || name == nullptr) return 0;
  const std::size_t name_size = std::strlen(name) + 1;
  aaa::RequestBody body(name_size + 8);
  if (!body) return 0;
  body.add_word(w0);
  body.add_word(w1);
  body.add_bytes(name, name_size);
  const aaa::Reply reply(aaa::exchange(AAA_MSG_REGISTER_GROUP, body));
  if (!reply || reply.type() != AAA_MSG_REGISTER_GROUP_RESP || reply.length() != 4) return 0;
  return reply.word(0) == 0 ? 1 : 0;
}

void aaa_set_rds_grp_sta(const char* group_name, std::uint32_t state) {
  constexpr std::uint32_t group_name_item = 1;
  constexpr std::uint32_t group_state_item = 2;
  if (group_name == nullptr) return;
  const std::size_t name_size = std::strlen(group_name) + 1;
  aaa::RequestBody body(name_size + 2 * aaa::tlv_header_size + sizeof state);
  if (!body) return;
  aaa_encap_tlv_data(body.extend(aaa::tlv_header_size + name_size), group_name_item, group_name,
                     static_cast<std::uint32_t>(name_size));
  aaa_encap_tlv_data(body.extend(aaa::tlv_header_size + sizeof state), group_state_item, &state,
                     sizeof state);
  aaa::send_one_way(AAA_MSG_SET_RADIUS_GROUP_STATE, 0, body.data(),
                    static_cast<std::int32_t>(body.size()));
}

std::int32_t aaa_rds_grp_sta_chg() {
  aaa::send_one_way(AAA_MSG_RADIUS_GROUP_STATE_CHANGE, 0, nullptr, 0);
  return 0;
}

std::int32_t aaa_srv_mib(const void* mib, std::uint32_t w) {
  constexpr std::size_t mib_size = 392;
  if (aaa_is_alive() == 0 || mib == nullptr) return -1;
  aaa::RequestBody body(mib_size + sizeof w);
  if (!body) return -1;
  body.add_bytes(mib, mib_size);
  body.add_word(w);
  const aaa::Reply reply(aaa::exchange(AAA_MSG_SERVER_MIB, body));
  if (!reply || reply.type() != AAA_MSG_SERVER_MIB_RESP || reply.length() != 4) return -1;
  return static_cast<std::int32_t>(reply.word(0));
}

std::int32_t aaa_mib_from_dot1x(const std::uint32_t words[2]) {
  constexpr std::int32_t size = 2 * sizeof words[0];
  if (aaa_is_alive() == 0 || words == nullptr) return -1;
  return aaa::send_one_way(AAA_MSG_DOT1X_MIB, 0, words, size) == 0 ? 0 : -1;
}
