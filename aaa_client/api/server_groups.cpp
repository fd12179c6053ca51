// Server groups: registering one, telling of its state.
#include <cstring>

#include "aaa_client.h"
#include "api/request_body.h"
#include "api/send_path.h"
#include "transport/exchange.h"

namespace {

constexpr std::uint32_t group_name_item = 1;
constexpr std::uint32_t group_state_item = 2;
constexpr std::size_t item_header_size = 4;

}  // namespace

std::uint32_t aaa_register_group(std::uint32_t w1, const char* name, std::uint32_t w0) {
  if (aaa_is_alive() == 0 || name == nullptr) return 0;
  const std::size_t name_size = std::strlen(name) + 1;
  aaa::RequestBody body(name_size + 8);
  if (!body) return 0;
  body.add_word(w0);
  body.add_word(w1);
  body.add_bytes(name, name_size);
  const aaa::Reply reply(aaalib_sr_ipc_msg(AAA_MSG_REGISTER_GROUP, body.data(), body.size()));
  if (!reply || reply.type() != AAA_MSG_REGISTER_GROUP_RESP || reply.length() != 4) return 0;
  return reply.word(0) == 0 ? 1 : 0;
}

void aaa_set_rds_grp_sta(const char* group_name, std::uint32_t state) {
  if (group_name == nullptr) return;
  const std::size_t name_size = std::strlen(group_name) + 1;
  aaa::RequestBody body(name_size + 2 * item_header_size + sizeof state);
  if (!body) return;
  const std::uint32_t written = aaa_encap_tlv_data(body.data(), group_name_item, group_name,
                                                   static_cast<std::uint32_t>(name_size));
  aaa_encap_tlv_data(body.data() + written, group_state_item, &state, sizeof state);
  aaa::send_one_way(AAA_MSG_SET_RADIUS_GROUP_STATE, 0, body.data(), body.size());
}

std::int32_t aaa_rds_grp_sta_chg() {
  aaa::send_one_way(AAA_MSG_RADIUS_GROUP_STATE_CHANGE, 0, nullptr, 0);
  return 0;
}
